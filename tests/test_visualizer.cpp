#include "Circle2.h"
#include "Color.h"
#include "Edge2.h"
#include "Label.h"
#include "Segment2.h"
#include "Triangle2.h"
#include "Visualizer2.h"
#include "tools.h"
#include "test_support.h"
#include <functional>

using namespace MIREL25D;

namespace {
using mtest::countOf;
using mtest::readFile;

// Draws into a file through `draw`, then compares the file, its creation date
// masked, with the golden file of the same name.
void expectDrawing(const std::string& name, const std::function<void(Visualizer2&)>& draw)
{
	{
		Visualizer2 vis(name.c_str());
		draw(vis);
		vis.writeFile();
	}
	std::string text(readFile(name));
	size_t date(text.find("%%CreationDate: "));
	ASSERT_NE(date, std::string::npos);
	date += 16;
	text.replace(date, text.find('\n', date) - date, "<date>");
	EXPECT_EQ(countOf(text, "nan") + countOf(text, "inf"), 0u);
	mtest::expectGolden("visualizer_" + name, text);
}

void drawSegments(Visualizer2& vis, const std::vector<Color>& vColors)
{
	for(size_t i = 0; i < vColors.size(); ++i) vis.addObject(Segment2(Point2(double(i), 0, 0), Point2(double(i), 1, 0)), vColors[i]);
}

} // namespace

// Page mapping, colour and width changes, a stroke every 31 objects, filled
// triangles with and without outline, end-point marks of filled segments,
// edges, circles, escaped labels and header lines, each in its golden file.
TEST(Visualizer2, DrawingsMatchTheirGoldenFiles)
{
	Point2 a(0, 0, 0), b(1, 0, 0), c(0, 1, 0), d(1, 1, 0), e(4, 0, 0), f(0, 4, 0);
	Triangle2 t0(&a, &b, &c), t1(&b, &d, &c), big(&a, &e, &f);
	// Range 0: the point lands at the drawing's origin.
	expectDrawing("single.ps", [](Visualizer2& vis) { vis.addObject(Point2(3, 4, 5), Color(CRED)); });
	expectDrawing("mapping.ps", [](Visualizer2& vis) { drawSegments(vis, {Color(CRED), Color(CBLUE, 2.0f), Color(CRED), Color(CRED)}); });
	for(size_t n : {30u, 31u, 62u})
		expectDrawing("stroke" + std::to_string(n) + ".ps", [n](Visualizer2& vis) { drawSegments(vis, std::vector<Color>(n, Color(CGREEN))); });
	expectDrawing("filled.ps", [&](Visualizer2& vis) { vis.addObject(std::vector<Triangle2*>{&t0, &t1}, Color(CRED, 0.5f, true)); });
	expectDrawing("outlined.ps", [&](Visualizer2& vis) { // no outline: the fill colour stays
		vis.addObject(t0, Color(CBLUE, 0.0f, true));
		vis.addObject(t1, Color(CBLUE, 0.0f, true));
	});
	expectDrawing("ends.ps", [](Visualizer2& vis) {
		std::vector<Segment2> vChain{Segment2(Point2(0, 0, 0), Point2(1, 0, 0)), Segment2(Point2(1, 0, 0), Point2(2, 0, 0))};
		vis.addObject(vChain, Color(CBLACK, 1.0f, true));
		vis.addObject(Segment2(Point2(0, 1, 0), Point2(2, 1, 0)), Color(CBLACK, 1.0f, false));
	});
	expectDrawing("misc.ps", [&](Visualizer2& vis) {
		vis.addObject(Edge2(&big, 0), Color(CGREEN));
		vis.addObject(Circle2(2, 2, 4), Color(CORANGE));
		vis.addObject(Label(Point2(1, 1, 0), "vertex (a)\\", false, 12), Color(CBLACK));
	});
	expectDrawing("header.ps", [](Visualizer2& vis) {
		for(int i = 0; i < 10; ++i) vis.addHeaderLine(("line " + std::to_string(i)).c_str());
		vis.addObject(Point2(0, 0, 0), Color());
	});
}

TEST(Visualizer2, GhostscriptRendersTheDrawing)
{
	if(!mtest::ghostscriptAvailable()) GTEST_SKIP() << "gs not installed";
	Point2 a(0, 0, 0), b(10, 0, 0), c(5, 8, 0), d(10, 10, 0);
	Triangle2 t0(&a, &b, &c), t1(&b, &d, &c);
	{
		Visualizer2 vis("render.ps");
		vis.addHeaderLine("two triangles, a circle, segments, points and a label");
		vis.addObject(t0, Color(CRED, 0.5f, true));
		vis.addObject(t1, Color(CLIGHTBLUE, 1.0f, false));
		vis.addObject(Circle2(Point2(5, 3, 0), 4.0), Color(CBLUE, 1.0f));
		vis.addObject(Segment2(Point2(0, 10, 0), Point2(4, 10, 0)), Color(CGREEN, 2.0f, true));
		std::vector<Point2> vPoints{Point2(1, 9, 0), Point2(2, 9, 0), Point2(3, 9, 0)};
		vis.addObject(vPoints, Color(CBLACK));
		vis.addObject(Label(Point2(7, 2, 0), "label", true, 14), Color(CBLACK));
		vis.writeFile();
	}
	mtest::Image img;
	std::string log;
	ASSERT_TRUE(mtest::render("render.ps", "render.png", 50, img, log)) << log;
	size_t numRed(mtest::countPrimary(img, 0));
	// The filled red triangle covers about 480*384/2 points^2, at 50 dpi ~ 31000 pixels
	EXPECT_TRUE(numRed > 20000u && numRed < 45000u) << numRed;
	EXPECT_GT(mtest::countNonWhite(img), numRed + 500);
}
