// SPDX-License-Identifier: Apache-2.0
#include "board/panel/PanelPicture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace VelrixBoard {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class PanelPictureTest : public testing::Test {
protected:
    std::string With(const std::vector<const char*>& lit, const std::string& program = "gateway") const {
        std::string levels(state.Count(), '0');
        for (const char* name : lit)
            levels[state.Find(name).value()] = '1';
        return PanelPicture(state, levels, program, "running");
    }

    BoardModel model;
    BoardState state{model};
};

TEST_F(PanelPictureTest, SaysTheStateInWords) {
    const std::string picture = With({"MS.green", "NS.red"});

    EXPECT_THAT(picture, StartsWith("<svg xmlns="));
    EXPECT_THAT(picture, HasSubstr("MS green, "));
    EXPECT_THAT(picture, HasSubstr("NS red, "));
    EXPECT_THAT(picture, HasSubstr("running</title>"));
    EXPECT_THAT(picture, HasSubstr("LINK_ACT1 off, "));
}

TEST_F(PanelPictureTest, PaintsALampPerLed) {
    EXPECT_THAT(With({}), Not(HasSubstr("fill=\"#2bff88\"")));
    EXPECT_THAT(With({"MS.green"}), HasSubstr("r=\"11\" fill=\"#2bff88\""));
    EXPECT_THAT(With({"MS.red"}), HasSubstr("r=\"11\" fill=\"#ff4134\""));
    EXPECT_THAT(With({"MS.green", "MS.red"}), HasSubstr("r=\"11\" fill=\"#ff9d1f\""));
}

TEST_F(PanelPictureTest, IsWellFormedWithAnyProgram) {
    const std::string picture = With({}, "sh -c 'a<b && c>\"d\"' \x01\xFF" + std::string(300, 'x'));

    EXPECT_THAT(picture, HasSubstr(">sh -c 'a&lt;b &amp;&amp; c&gt;&quot;d&quot;' ??x"));
    EXPECT_THAT(picture, HasSubstr("xxx...</text>"));
    EXPECT_LT(picture.size(), 4096u);
}

// The panel's Content-Security-Policy forbids both.
TEST_F(PanelPictureTest, HasNeitherStylesNorScripts) {
    EXPECT_THAT(With({"MS.green"}), testing::AllOf(Not(HasSubstr("style")), Not(HasSubstr("script"))));
}

} // namespace
} // namespace VelrixBoard
