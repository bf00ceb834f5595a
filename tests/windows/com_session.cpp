// The tests' thread may use COM, as a host's has to.
#include <gtest/gtest.h>
#include <windows.h>

#include <objbase.h>

namespace {

class CComSession final : public ::testing::Environment {
public:
    void SetUp() override { CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED); }
    void TearDown() override { CoUninitialize(); }
};

const ::testing::Environment* const g_session = ::testing::AddGlobalTestEnvironment(new CComSession);

}  // namespace
