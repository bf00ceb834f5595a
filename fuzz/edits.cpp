#include <gtest/gtest.h>

#include "edit_sequence.h"
#include "support.h"

void FuzzEdits(FuzzBytes bytes) {
    static const edits::Files files;
    std::size_t next = 0;
    const auto choose = [&]() -> std::uint64_t {
        // Past the bytes every choice is met in turn, so that what waits for one comes to an end.
        const std::size_t at = next++;
        return at < bytes.size() ? bytes[at] : at;
    };
    const std::uint64_t settings = choose();
    g_lower = static_cast<std::int32_t>(settings % 2);
    {
        edits::Sequence sequence(choose, files, settings / 2 % 2 == 1);
        while (next < bytes.size() && !::testing::Test::HasFailure()) sequence.Run(1);
        sequence.Finish();
    }
    g_lower = 0;
    Require(!::testing::Test::HasFailure(), "edits do to a document what they do to the model");
}
