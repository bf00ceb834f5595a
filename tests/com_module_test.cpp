// The component module, with the class entries that the library itself has none of.
#include <gtest/gtest.h>

#include <string>

#include "module/com_module.h"

namespace {

std::string g_events;

struct CFactory final : IUnknown {
    HRESULT PARVEL_CALL QueryInterface(const IID&, void**) override { return 1; }
    ULONG PARVEL_CALL AddRef() override { return 2; }
    ULONG PARVEL_CALL Release() override {
        g_events += "release ";
        return 0;
    }
};

TEST(ComModule, StartsAndStopsItsClasses) {
    constexpr GUID kLibraryId = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
    CFactory factory;
    ComClassEntry classes[] = {
        {GUID{}, [] { g_events += "start1 "; }, [] { g_events += "stop1 "; }},
        {GUID{}, nullptr, nullptr},
        {GUID{}, [] { g_events += "start2 "; }, [] { g_events += "stop2 "; }},
    };
    g_events.clear();
    CComModule module;
    module.Term();
    module.Init(kLibraryId, classes);
    EXPECT_TRUE(module.LibraryId() == kLibraryId);
    EXPECT_EQ(g_events, "start1 start2 ");
    classes[2].factory = &factory;
    module.Term();
    module.Term();
    EXPECT_EQ(g_events, "start1 start2 stop1 release stop2 ");
    EXPECT_EQ(classes[2].factory, nullptr);
}

}  // namespace
