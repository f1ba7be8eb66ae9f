// SPDX-License-Identifier: MIT
// The About box.
#include "app/aboutdialog.h"
#include "app/dialogids.h"
#include "app/programversion.h"
#include "platform/versionnote.h"
#include "tests/app/dialog_fixture.h"

#include <cstring>
#include <ctime>

namespace
{
TEST_F(AppDialogTest, AboutShowsVersionAndBuildStamp)
{
    const struct {
        const char* program;
        std::string want;
    } cases[] = {
        {LUMENTA_PROGRAM, GetFileVersionText(LUMENTA_PROGRAM).c_str()},
        {"/etc/passwd", "1.2.1.0"},
        {"", "1.2.1.0"},
    };
    EXPECT_STREQ(CAboutDialog().m_strProgram.c_str(), kOwnProgramFile);
    for (const auto& c : cases) {
        CAboutDialog dialog;
        dialog.m_strProgram = c.program;
        EXPECT_EQ(Show(dialog,
                       [&] {
                           EXPECT_EQ(DescribeDialog(dialog).front(), "About LUMENTA");
                           EXPECT_EQ(dialog.GetDlgItemText(kVersionText), CString(c.want));
                           EXPECT_EQ(dialog.GetDlgItemText(kCommitText), CString(kLumentaCommit));
                           const std::string stamp = dialog.GetDlgItemText(kBuildStampText).c_str();
                           EXPECT_EQ(stamp.size(), strlen("11:02:57  Jul 20 2001"));
                           tm time{};
                           const char* end = strptime(stamp.c_str(), "%H:%M:%S  %b %d %Y", &time);
                           EXPECT_TRUE(end && *end == '\0') << stamp;
                           PressDialogKeys(dialog, {"Return"});
                       }),
                  IDOK);
    }
}
} // namespace
