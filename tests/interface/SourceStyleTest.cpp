#include "BeaconryKit/interface/asks/SourceStyle.h"

#include <gmock/gmock.h>

namespace pelorin {
namespace {

using ::testing::ElementsAre;
using Colour = SourceStyle::Colour;

struct Label {
    const char* source;
    const char* label;
};

class SourceLabels : public ::testing::TestWithParam<Label> {};

TEST_P(SourceLabels, NameTheCli) {
    EXPECT_EQ(SourceStyle::label(GetParam().source), GetParam().label);
}

INSTANTIATE_TEST_SUITE_P(SourceStyle, SourceLabels,
                         ::testing::Values(Label{"claude", "Claude"}, Label{"codex", "Codex"},
                                           Label{"gemini", "Gemini"}, Label{"opencode", "opencode"},
                                           Label{"cursor", "Cursor"}, Label{"CLAUDE", "Claude"},
                                           Label{"OpenCode", "opencode"}, Label{"aider", "Aider"},
                                           Label{"AIDER", "Aider"}, Label{"my own tool", "My Own Tool"},
                                           Label{"my\tOWN  tool", "My\tOwn  Tool"}, Label{"my-tool", "My-tool"},
                                           Label{"éclair", "Éclair"}, Label{"claude ", "Claude "}, Label{" ", " "},
                                           Label{"", "?"}));

TEST(SourceStyle, HasSixColours) {
    EXPECT_EQ(SourceStyle::paletteCount, 6);
    EXPECT_THAT(SourceStyle::palette,
                ElementsAre(Colour{0.36, 0.72, 0.98}, Colour{0.44, 0.85, 0.56}, Colour{0.98, 0.64, 0.24},
                            Colour{0.86, 0.47, 0.92}, Colour{0.98, 0.45, 0.52}, Colour{0.40, 0.80, 0.80}));
}

TEST(SourceStyle, GivesASessionTheColourOfItsHash) {
    EXPECT_EQ(SourceStyle::dotColorIndex(""), 5);
    EXPECT_EQ(SourceStyle::dotColorIndex("a"), static_cast<int>(0xaf63dc4c8601ec8c % 6));
    EXPECT_EQ(SourceStyle::dotColorIndex("b"), 1);
    // The bytes count, not the characters.
    EXPECT_EQ(SourceStyle::dotColorIndex("é"), 1);
    EXPECT_EQ(SourceStyle::dotColorIndex("6f1c2a1e-5d3e-4a57-9a0d-7d3d6a0f6b11"), 5);
    EXPECT_EQ(SourceStyle::dotColor("b"), (Colour{0.44, 0.85, 0.56}));
    EXPECT_EQ(SourceStyle::dotColor(""), (Colour{0.40, 0.80, 0.80}));
}

} // namespace
} // namespace pelorin
