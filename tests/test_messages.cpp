#include "tools.h"
#include "freeFunctions.h"
#include "test_support.h"

using namespace MIREL25D;

namespace bannerTest {
int assertLine(0);
void failingCheck(int value)
{
	assertLine = __LINE__ + 1;
	MIREL_ASSERT(value!=0);
}
} // namespace bannerTest

TEST(MessageChannel, WarningAndErrorFormat)
{
	testing::internal::CaptureStdout();
	sendWarning("Bbox2::doIntersect()", "bbox invalid");
	sendError("Somewhere::place()", "bad thing");
	std::string out(testing::internal::GetCapturedStdout());
	EXPECT_EQ(out,
		"\n      [Mirel2D-Message] Bbox2::doIntersect(), WARNING: bbox invalid\n\n"
		"\n      [Mirel2D-Message] Somewhere::place(), ERROR: bad thing\n\n");
}

TEST(MessageChannel, AssertionBannerOnStdoutAndLogReplaced)
{
	{
		std::ofstream old("MIREL_LOG.txt");
		old << "an older line that must disappear\n";
	}
	testing::internal::CaptureStdout();
	EXPECT_THROW(bannerTest::failingCheck(0), MirelException);
	std::string out(testing::internal::GetCapturedStdout());
	std::string expected(
		"\n      [Mirel2D-Message] * Mirel, , ERROR: Condition [ value!=0 failed ]\n\n"
		"* Mirel, Condition [ value!=0 failed ]\n"
		"  dt2Library/test_messages:" + std::to_string(bannerTest::assertLine) + "\n"
		"  Function: bannerTest::failingCheck()\n");
	EXPECT_EQ(out, expected);
	EXPECT_EQ(mtest::readFile("MIREL_LOG.txt"), "* Mirel, Condition [ value!=0 failed ]\n");
	EXPECT_NO_THROW(bannerTest::failingCheck(1));
}

