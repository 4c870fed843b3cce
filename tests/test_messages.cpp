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

TEST(MessageChannel, QualifiedFunctionNames)
{
	EXPECT_EQ(qualifiedFunctionName("void MIREL25D::Dt2::insert(const MIREL25D::Point2&)"), "MIREL25D::Dt2::insert");
	EXPECT_EQ(qualifiedFunctionName("MIREL25D::Point2* MIREL25D::Dt2::insert(const MIREL25D::Point2&)"), "MIREL25D::Dt2::insert");
	EXPECT_EQ(qualifiedFunctionName("std::vector<int, std::allocator<int> > MIREL25D::A::f(int)"), "MIREL25D::A::f");
	EXPECT_EQ(qualifiedFunctionName("bool MIREL25D::Func::operator()(int) const"), "MIREL25D::Func::operator()");
	// MSVC's __FUNCSIG__ forms: calling convention and class keywords.
	EXPECT_EQ(qualifiedFunctionName("void __cdecl MIREL25D::Dt2::insert(const class MIREL25D::Point2 &)"), "MIREL25D::Dt2::insert");
	EXPECT_EQ(qualifiedFunctionName("class MIREL25D::Point2 *__cdecl MIREL25D::Dt2::insert(const class MIREL25D::Point2 &)"), "MIREL25D::Dt2::insert");
	EXPECT_EQ(unitName("C:\\src\\dt2Library\\Chunk.cpp"), "dt2Library/Chunk");
	EXPECT_EQ(unitName("/x/y/dt2Library/VertexVault.cpp"), "dt2Library/VertexVault");
}

TEST(Version, NumbersAndText)
{
	EXPECT_EQ(getMajorVersionNumber(), 1);
	EXPECT_EQ(getMinorVersionNumber(), 85);
	EXPECT_EQ(getRevisionNumber(), 538);
	EXPECT_TRUE(isRelease());
	EXPECT_STREQ(getMirel2DVersion(), "Mirel2D 1.85.538 RELEASE");
}
