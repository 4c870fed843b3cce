#include "Circle2.h"
#include "Color.h"
#include "Edge2.h"
#include "Label.h"
#include "Segment2.h"
#include "Triangle2.h"
#include "Visualizer2.h"
#include "tools.h"
#include "test_support.h"

using namespace MIREL25D;

namespace {
using mtest::countOf;
using mtest::readFile;

// The drawing part of a file: after the header, before the trailer.
std::string body(const std::string& text)
{
	size_t start(text.find("=", text.find("(y-Range")));
	start = text.find('\n', start) + 1;
	size_t end(text.rfind("stroke\nshowpage\n%%Trailer\n"));
	return text.substr(start, end - start);
}

std::string drawSegments(const char* name, const std::vector<Color>& vColors)
{
	{
		Visualizer2 vis(name);
		for(size_t i = 0; i < vColors.size(); ++i) vis.addObject(Segment2(Point2(double(i), 0, 0), Point2(double(i), 1, 0)), vColors[i]);
		vis.writeFile();
	}
	return readFile(name);
}

} // namespace

TEST(Color, NamedColorsAndComparison)
{
	EXPECT_EQ(Color(CRED), Color(1, 0, 0));
	EXPECT_EQ(Color(CBLACK), Color());
	EXPECT_EQ(Color(CPURPLE, 2.0f, true), Color(0.627f, 0.125f, 0.941f, 2.0f, true));
	// Ordered by colour, then width, then filling.
	EXPECT_NE(Color(CRED, 1.0f), Color(CRED, 2.0f));
	EXPECT_TRUE(Color(0.5f, 1, 1) < Color(0.6f, 0, 0));
	EXPECT_TRUE(Color(1, 1, 1, 1.0f) < Color(1, 1, 1, 2.0f));
	EXPECT_TRUE(Color(1, 1, 1, 1.0f, false) < Color(1, 1, 1, 1.0f, true));
	EXPECT_FALSE(Color(CRED) < Color(CRED));
	std::set<Color> distinct;
	for(int i = 0; i <= 16; ++i) distinct.insert(Color(static_cast<Colorname>(i)));
	EXPECT_EQ(distinct.size(), 17u);

	testing::internal::CaptureStdout();
	Color unknown(static_cast<Colorname>(17), 3.0f, true);
	EXPECT_EQ(testing::internal::GetCapturedStdout(), "\n      [Mirel2D-Message] Color::Color, WARNING: Colorname unknown, returning black\n\n");
	EXPECT_EQ(unknown, Color(0, 0, 0, 3.0f, true));
}

TEST(Color, NextColorNameCyclesThroughAll)
{
	std::vector<Colorname> vNames;
	for(int i = 0; i < 18; ++i) vNames.push_back(Color::getNextColorName());
	EXPECT_EQ(std::set<Colorname>(vNames.begin(), vNames.begin() + 17).size(), 17u);
	EXPECT_EQ(vNames[17], vNames[0]);
	EXPECT_EQ((vNames[1] - vNames[0] + 17) % 17, 1);
}

TEST(Visualizer2, SinglePointGivesACompleteFile)
{
	{
		Visualizer2 vis("single.ps");
		vis.addObject(Point2(3, 4, 5), Color(CRED));
		vis.writeFile();
	}
	std::string text(readFile("single.ps"));
	EXPECT_EQ(text.rfind("%!PS-Adobe-1.0\n\t%%Creator: TARVO PostscriptWriter\n\t%%Title: single.ps\n\t%%CreationDate: ", 0), 0u);
	EXPECT_NE(text.find("\t%%DocumentMedia: A4 595 842 0 () ()\n\t%%Orientation: Portrait\n\t%%Pages: 1\t%%DocumentFonts: Times-Roman Helvetica\n"), std::string::npos);
	EXPECT_NE(text.find("40\t740\tmoveto\n\t(single.ps)\tshow\n"), std::string::npos);
	EXPECT_NE(text.find("40\t705\tmoveto\n(x-Range: [3 - 3] =0)\tshow\n40\t695\tmoveto\n(y-Range: [4 - 4] =0)\tshow\n"), std::string::npos);
	// Range 0: the point lands at the drawing's origin, no non-numbers
	EXPECT_EQ(body(text), "stroke\n1\t0\t0\tsetrgbcolor\n0.001\tsetlinewidth\n48.5\t198.5\tmoveto\n51.5\t201.5\tlineto\n48.5\t201.5\tmoveto\n51.5\t198.5\tlineto\n");
	EXPECT_EQ(countOf(text, "nan") + countOf(text, "inf"), 0u);
	EXPECT_EQ(text.substr(text.size() - 26), "stroke\nshowpage\n%%Trailer\n");
}

TEST(Visualizer2, PageMappingAndColorChanges)
{
	std::string text(drawSegments("mapping.ps", {Color(CRED), Color(CBLUE, 2.0f), Color(CRED), Color(CRED)}));
	EXPECT_NE(text.find("(x-Range: [0 - 3] =3)"), std::string::npos);
	EXPECT_NE(text.find("(y-Range: [0 - 1] =3)"), std::string::npos);
	EXPECT_EQ(body(text),
		"stroke\n1\t0\t0\tsetrgbcolor\n0.001\tsetlinewidth\n50\t200\tmoveto\n50\t360\tlineto\n"
		"stroke\n0\t0\t1\tsetrgbcolor\n2\tsetlinewidth\n210\t200\tmoveto\n210\t360\tlineto\n"
		"stroke\n1\t0\t0\tsetrgbcolor\n0.001\tsetlinewidth\n370\t200\tmoveto\n370\t360\tlineto\n"
		"530\t200\tmoveto\n530\t360\tlineto\n");
}

TEST(Visualizer2, LongPathsAreStrokedEvery31Objects)
{
	std::string text30(drawSegments("stroke30.ps", std::vector<Color>(30, Color(CGREEN))));
	std::string text31(drawSegments("stroke31.ps", std::vector<Color>(31, Color(CGREEN))));
	std::string text62(drawSegments("stroke62.ps", std::vector<Color>(62, Color(CGREEN))));
	// One stroke for the colour, one per 31 objects
	EXPECT_EQ(countOf(body(text30), "stroke\n"), 1u);
	EXPECT_EQ(countOf(body(text31), "stroke\n"), 2u);
	EXPECT_EQ(countOf(body(text62), "stroke\n"), 3u);
	EXPECT_EQ(body(text31).substr(body(text31).size() - 7), "stroke\n");
}

TEST(Visualizer2, FilledTrianglesKeepTheirColor)
{
	Point2 a(0, 0, 0), b(1, 0, 0), c(0, 1, 0), d(1, 1, 0);
	Triangle2 t0(&a, &b, &c), t1(&b, &d, &c);
	{
		Visualizer2 vis("filled.ps");
		std::vector<Triangle2*> vT{&t0, &t1};
		vis.addObject(vT, Color(CRED, 0.5f, true));
		vis.writeFile();
	}
	std::string drawing(body(readFile("filled.ps")));
	std::string colorLines("stroke\n1\t0\t0\tsetrgbcolor\n0.5\tsetlinewidth\n");
	std::string fill("closepath\ngsave\n  fill\ngrestore\n  0.3 0.3 .3 setrgbcolor\n0.5\tsetlinewidth\nstroke\nstroke\n");
	EXPECT_EQ(drawing,
		colorLines + "50\t200\tmoveto\n530\t200\tlineto\n50\t680\tlineto\n" + fill + colorLines + "530\t200\tmoveto\n530\t680\tlineto\n50\t680\tlineto\n" + fill);

	{
		Visualizer2 vis("outlined.ps");
		vis.addObject(t0, Color(CBLUE, 0.0f, true)); // no outline: the fill colour stays
		vis.addObject(t1, Color(CBLUE, 0.0f, true));
		vis.writeFile();
	}
	drawing = body(readFile("outlined.ps"));
	EXPECT_EQ(countOf(drawing, "setrgbcolor"), 1u);
	EXPECT_EQ(countOf(drawing, "  fill\n"), 2u);
}

TEST(Visualizer2, FilledSegmentsMarkEachEndPointOnce)
{
	{
		Visualizer2 vis("ends.ps");
		std::vector<Segment2> vChain{Segment2(Point2(0, 0, 0), Point2(1, 0, 0)), Segment2(Point2(1, 0, 0), Point2(2, 0, 0))};
		vis.addObject(vChain, Color(CBLACK, 1.0f, true));
		vis.addObject(Segment2(Point2(0, 1, 0), Point2(2, 1, 0)), Color(CBLACK, 1.0f, false));
		vis.writeFile();
	}
	std::string drawing(body(readFile("ends.ps")));
	// 3 segments, then 3 crosses of two strokes each, d = max(1.5, 2*width) = 2
	EXPECT_EQ(countOf(drawing, "lineto\n"), 3u + 6u);
	EXPECT_NE(drawing.find("48\t198\tmoveto\n52\t202\tlineto\n48\t202\tmoveto\n52\t198\tlineto\n"), std::string::npos);
}

TEST(Visualizer2, LabelsCirclesAndEdges)
{
	Point2 a(0, 0, 0), b(4, 0, 0), c(0, 4, 0);
	Triangle2 t(&a, &b, &c);
	{
		Visualizer2 vis("misc.ps");
		vis.addObject(Edge2(&t, 0), Color(CGREEN));
		vis.addObject(Circle2(2, 2, 4), Color(CORANGE));
		vis.addObject(Label(Point2(1, 1, 0), "vertex (a)\\", false, 12), Color(CBLACK));
		vis.writeFile();
	}
	std::string drawing(body(readFile("misc.ps")));
	// Edge 0 runs from corner 1 to corner 2; the circle spans the box [0, 4]^2
	EXPECT_NE(drawing.find("530\t200\tmoveto\n50\t680\tlineto\n"), std::string::npos);
	EXPECT_NE(drawing.find("530\t440\tmoveto\n290\t440\t240\t0\t360\tarc\nclosepath\n"), std::string::npos);
	EXPECT_NE(drawing.find("/Arial findfont 12 scalefont\n setfont\n170\t320\tmoveto\n(vertex \\(a\\)\\\\)\tshow\n"), std::string::npos);
}

TEST(Visualizer2, HeaderLinesAndMisuse)
{
	Visualizer2 vis("header.ps");
	testing::internal::CaptureStdout();
	for(int i = 0; i < 11; ++i) vis.addHeaderLine(("line " + std::to_string(i)).c_str());
	std::string out(testing::internal::GetCapturedStdout());
	EXPECT_EQ(out, "\n      [Mirel2D-Message] Visualizer2::addHeaderLine(), WARNING: skipping text [\"line 10\"], maximum number of header lines reached\n\n");
	vis.addObject(Point2(0, 0, 0), Color());
	vis.writeFile();
	std::string text(readFile("header.ps"));
	// 500 / 6 characters; counted down from 695
	EXPECT_NE(text.find("/Times-Roman findfont 83.3333 scalefont\n\tsetfont\n240\t695\tmoveto\n(line 0)\tshow\n240\t611.667\tmoveto\n(line 1)\tshow\n"), std::string::npos);
	EXPECT_EQ(countOf(text, "(line "), 10u);

	testing::internal::CaptureStdout();
	vis.writeFile();
	EXPECT_THROW(vis.addObject(Point2(1, 1, 1), Color()), MirelException);
	out = testing::internal::GetCapturedStdout();
	EXPECT_EQ(out.rfind("\n      [Mirel2D-Message] Visualizer2::writeFile(), WARNING: No effect. File has already been closed\n\n", 0), 0u);
	EXPECT_NE(out.find("* Mirel, Condition [ !bFileClosed failed ]\n  dt2Library/Visualizer2:"), std::string::npos);
	EXPECT_EQ(readFile("header.ps"), text);
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
	size_t numNonWhite(0), numRed(0);
	for(size_t i = 0; i + 2 < img.rgb.size(); i += 3)
	{
		unsigned char r(img.rgb[i]), g(img.rgb[i + 1]), b(img.rgb[i + 2]);
		if(r != 255 || g != 255 || b != 255) ++numNonWhite;
		if(r > 200 && g < 60 && b < 60) ++numRed;
	}
	// The filled red triangle covers about 480*384/2 points^2, at 50 dpi ~ 31000 pixels
	EXPECT_GT(numRed, 20000u);
	EXPECT_LT(numRed, 45000u);
	EXPECT_GT(numNonWhite, numRed + 500);
}
