#include "Visualizer2.h"
#include "Circle2.h"
#include "Edge2.h"
#include "Segment2.h"
#include "Triangle2.h"
#include "freeFunctions.h"
#include "tools.h"
#include <algorithm>
#include <ctime>
#include <iostream>
#include <limits>
#include <locale>
#include <tuple>

namespace MIREL25D {

namespace {
// The page: the larger side of the bounding box spans 480 points, the drawing
// starts at (50, 200) and leaves the top of the A4 page to the header.
const double PAGE_SPAN(480.0);
const double PAGE_OFFSET_X(50.0);
const double PAGE_OFFSET_Y(200.0);
const double INITIAL_LINE_WIDTH(0.5);
const size_t MAX_HEADER_LINE_LENGTH(120);
// A path of more than this many objects is stroked, so that paths stay short.
const int MAX_OBJECTS_PER_PATH(31);
const double POINT_MARK_SIZE(1.5);

// Text inside a PostScript string: backslashes and parentheses are escaped so
// that any file name or label keeps the file valid.
std::string psString(const std::string& s)
{
	std::string escaped;
	escaped.reserve(s.size());
	for(char c : s)
	{
		if(c == '\\' || c == '(' || c == ')') escaped.push_back('\\');
		escaped.push_back(c);
	}
	return escaped;
}

std::string currentDate()
{
	std::time_t now(std::time(nullptr));
	std::tm local{};
	localtime_r(&now, &local);
	char buffer[64];
	if(std::strftime(buffer, sizeof(buffer), "%Y-%m-%d %H:%M:%S", &local) == 0) return std::string();
	return buffer;
}
} // namespace

Visualizer2::Visualizer2(const char* filename_)
	: filename(filename_ != nullptr ? filename_ : ""), minX(0.0), minY(0.0), maxX(0.0), maxY(0.0), bBoxValid(false), range(0.0), numObjectsSinceStroke(0),
	  bCurrentColorValid(false), bFileClosed(false)
{
	outFile.open(filename.c_str(), std::ios::out | std::ios::trunc);
	if(!outFile.is_open()) sendRawText(filename + " can't be written\n");
	// Page coordinates need a decimal point whatever the user's locale.
	outFile.imbue(std::locale::classic());
}

Visualizer2::~Visualizer2()
{
	if(!bFileClosed) writeFile();
}

void Visualizer2::addObject(const Point2& p, const Color& c)
{
	MIREL_ASSERT(!bFileClosed);
	vPoints.push_back(PointRecord{p.x(), p.y(), c});
}

void Visualizer2::addSegment(const Point2& p0, const Point2& p1, const Color& c)
{
	vSegments.push_back(SegmentRecord{p0.x(), p0.y(), p1.x(), p1.y(), c});
}

void Visualizer2::addObject(const Segment2& seg, const Color& c)
{
	MIREL_ASSERT(!bFileClosed);
	addSegment(seg.getSrc(), seg.getTrg(), c);
}

void Visualizer2::addObject(const Edge2& edge, const Color& c)
{
	MIREL_ASSERT(!bFileClosed);
	addSegment(*edge.getSrc(), *edge.getTrg(), c);
}

void Visualizer2::addObject(const Triangle2& t, const Color& c)
{
	MIREL_ASSERT(!bFileClosed);
	TriangleRecord record{{}, {}, c};
	for(int i = 0; i < 3; ++i)
	{
		record.x[i] = t.getCorner(i)->x();
		record.y[i] = t.getCorner(i)->y();
	}
	vTriangles.push_back(record);
}

void Visualizer2::addObject(const Circle2& circ, const Color& c)
{
	MIREL_ASSERT(!bFileClosed);
	Point2 centre(circ.getCenter());
	vCircles.push_back(CircleRecord{centre.x(), centre.y(), circ.getRadius(), c});
}

void Visualizer2::addObject(const Label& label, const Color& c)
{
	MIREL_ASSERT(!bFileClosed);
	vLabels.push_back(LabelRecord{label, c});
}

void Visualizer2::addObject(const std::vector<Point2>& vPointsIn, const Color& c)
{
	MIREL_ASSERT(!bFileClosed);
	for(const Point2& p : vPointsIn) vPoints.push_back(PointRecord{p.x(), p.y(), c});
}

void Visualizer2::addObject(const std::vector<Point2*>& vPointsIn, const Color& c)
{
	MIREL_ASSERT(!bFileClosed);
	for(const Point2* p : vPointsIn) vPoints.push_back(PointRecord{p->x(), p->y(), c});
}

void Visualizer2::addObject(const std::vector<Segment2>& vSegmentsIn, const Color& c)
{
	MIREL_ASSERT(!bFileClosed);
	for(const Segment2& seg : vSegmentsIn) addSegment(seg.getSrc(), seg.getTrg(), c);
}

void Visualizer2::addObject(const std::vector<Edge2>& vEdges, const Color& c)
{
	MIREL_ASSERT(!bFileClosed);
	for(const Edge2& edge : vEdges) addSegment(*edge.getSrc(), *edge.getTrg(), c);
}

void Visualizer2::addObject(const std::vector<Triangle2>& vTrianglesIn, const Color& c)
{
	MIREL_ASSERT(!bFileClosed);
	for(const Triangle2& t : vTrianglesIn) addObject(t, c);
}

void Visualizer2::addObject(const std::vector<Triangle2*>& vTrianglesIn, const Color& c)
{
	MIREL_ASSERT(!bFileClosed);
	for(const Triangle2* t : vTrianglesIn) addObject(*t, c);
}

void Visualizer2::addHeaderLine(const char* s)
{
	MIREL_ASSERT(!bFileClosed);
	std::string text(s != nullptr ? s : "");
	if(vHeaderLines.size() >= MAX_HEADER_LINES)
	{
		sendWarning("Visualizer2::addHeaderLine()", "skipping text [\"" + text + "\"], maximum number of header lines reached");
		return;
	}
	vHeaderLines.push_back(text);
}

void Visualizer2::extendBoundingBox(double x, double y)
{
	if(!bBoxValid)
	{
		minX = maxX = x;
		minY = maxY = y;
		bBoxValid = true;
		return;
	}
	minX = std::min(minX, x);
	maxX = std::max(maxX, x);
	minY = std::min(minY, y);
	maxY = std::max(maxY, y);
}

void Visualizer2::computeBoundingBox()
{
	bBoxValid = false;
	minX = minY = maxX = maxY = 0.0;
	for(const TriangleRecord& t : vTriangles)
	{
		for(int i = 0; i < 3; ++i) extendBoundingBox(t.x[i], t.y[i]);
	}
	for(const SegmentRecord& s : vSegments)
	{
		extendBoundingBox(s.x0, s.y0);
		extendBoundingBox(s.x1, s.y1);
	}
	for(const CircleRecord& circ : vCircles)
	{
		extendBoundingBox(circ.x - circ.radius, circ.y - circ.radius);
		extendBoundingBox(circ.x + circ.radius, circ.y + circ.radius);
	}
	for(const PointRecord& p : vPoints) extendBoundingBox(p.x, p.y);
	for(const LabelRecord& l : vLabels) extendBoundingBox(l.label.getPosition().x(), l.label.getPosition().y());
	range = std::max(maxX - minX, maxY - minY);
}

// A zero range (a single point) is mapped as if it were 1: the object lands in
// the drawing's lower left corner instead of producing non-numbers.
double Visualizer2::pageX(double x) const
{
	return (x - minX) * PAGE_SPAN / (range > 0.0 ? range : 1.0) + PAGE_OFFSET_X;
}

double Visualizer2::pageY(double y) const
{
	return (y - minY) * PAGE_SPAN / (range > 0.0 ? range : 1.0) + PAGE_OFFSET_Y;
}

void Visualizer2::writeHeader()
{
	std::ostream& out(outFile);
	std::string title(psString(filename));
	out << "%!PS-Adobe-1.0\n\t%%Creator: TARVO PostscriptWriter\n\t%%Title: " << filename << "\n";
	out << "\t%%CreationDate: " << currentDate() << "\n";
	out << "\t%%DocumentMedia: A4 595 842 0 () ()\n\t%%Orientation: Portrait\n\t%%Pages: 1\t%%DocumentFonts: Times-Roman Helvetica\n\t%%EndComments\n"
		   "\t%%BeginProlog\n\t%%EndProlog\n\t%%Page: Tarvo PostscriptWriter 1\n";
	out << INITIAL_LINE_WIDTH << "\tsetlinewidth\n\t0\t0\t0\tsetrgbcolor\n\t/Times-Roman findfont 17 scalefont\n\tsetfont\n";
	out << "40\t740\tmoveto\n\t(" << title << ")\tshow\n";
	out << "0.4\t0.4\t0.4\tsetrgbcolor\n\t/Times-Roman findfont 10 scalefont\n\tsetfont\n";
	out << "40\t725\tmoveto\n\t(" << psString(getMirel2DVersion()) << ", exact Delaunay triangulation)\tshow\n";
	out << "0.0\t0.0\t0.0\tsetrgbcolor\n\t/Times-Roman findfont 10 scalefont\n\tsetfont\n";
	out << "40\t705\tmoveto\n(x-Range: [" << minX << " - " << maxX << "] =" << range << ")\tshow\n";
	out << "40\t695\tmoveto\n(y-Range: [" << minY << " - " << maxY << "] =" << range << ")\tshow\n";
}

void Visualizer2::writeHeaderLines()
{
	if(vHeaderLines.empty()) return;
	std::vector<std::string> vCut;
	size_t longest(0);
	for(const std::string& line : vHeaderLines)
	{
		vCut.push_back(line.substr(0, MAX_HEADER_LINE_LENGTH));
		longest = std::max(longest, vCut.back().size());
	}
	// Long lines get a smaller font so that they fit beside the ranges.
	double fontSize(longest == 0 ? 12.0 : 500.0 / static_cast<double>(longest));
	std::ostream& out(outFile);
	out << "0\t0\t0\tsetrgbcolor\n\t/Times-Roman findfont " << fontSize << " scalefont\n\tsetfont\n";
	double y(695.0);
	for(size_t i = 0; i < vCut.size() && i < MAX_HEADER_LINES; ++i)
	{
		out << "240\t" << y << "\tmoveto\n(" << psString(vCut[i]) << ")\tshow\n";
		y -= fontSize;
	}
}

void Visualizer2::useColor(const Color& c)
{
	if(bCurrentColorValid && c == currentColor) return;
	outFile << "stroke\n" << c.getR() << "\t" << c.getG() << "\t" << c.getB() << "\tsetrgbcolor\n" << c.getWidth() << "\tsetlinewidth\n";
	currentColor = c;
	bCurrentColorValid = true;
	numObjectsSinceStroke = 0;
}

void Visualizer2::countObject()
{
	if(++numObjectsSinceStroke == MAX_OBJECTS_PER_PATH)
	{
		outFile << "stroke\n";
		numObjectsSinceStroke = 0;
	}
}

void Visualizer2::writeMark(double x, double y, double d)
{
	double px(pageX(x)), py(pageY(y));
	outFile << px - d << "\t" << py - d << "\tmoveto\n" << px + d << "\t" << py + d << "\tlineto\n";
	outFile << px - d << "\t" << py + d << "\tmoveto\n" << px + d << "\t" << py - d << "\tlineto\n";
}

void Visualizer2::writeTriangle(const TriangleRecord& t)
{
	std::ostream& out(outFile);
	out << pageX(t.x[0]) << "\t" << pageY(t.y[0]) << "\tmoveto\n";
	out << pageX(t.x[1]) << "\t" << pageY(t.y[1]) << "\tlineto\n";
	out << pageX(t.x[2]) << "\t" << pageY(t.y[2]) << "\tlineto\n";
	out << "closepath\n";
	if(t.color.isFill())
	{
		out << "gsave\n  fill\ngrestore\n";
		if(t.color.getWidth() != 0.0f)
		{
			out << "  0.3 0.3 .3 setrgbcolor\n" << t.color.getWidth() << "\tsetlinewidth\nstroke\n";
			// The gray outline replaced the fill colour in the page state
			bCurrentColorValid = false;
		}
	}
	out << "stroke\n";
}

void Visualizer2::writeSegment(const SegmentRecord& s)
{
	outFile << pageX(s.x0) << "\t" << pageY(s.y0) << "\tmoveto\n";
	outFile << pageX(s.x1) << "\t" << pageY(s.y1) << "\tlineto\n";
}

// The end points of segments drawn with a fill colour, each position and
// colour once.
void Visualizer2::writeSegmentEndMarks()
{
	std::vector<PointRecord> vEnds;
	for(const SegmentRecord& s : vSegments)
	{
		if(!s.color.isFill()) continue;
		vEnds.push_back(PointRecord{s.x0, s.y0, s.color});
		vEnds.push_back(PointRecord{s.x1, s.y1, s.color});
	}
	auto key = [](const PointRecord& p) { return std::tie(p.x, p.y); };
	std::sort(vEnds.begin(), vEnds.end(), [&](const PointRecord& a, const PointRecord& b) {
		if(key(a) != key(b)) return key(a) < key(b);
		return a.color < b.color;
	});
	vEnds.erase(std::unique(vEnds.begin(), vEnds.end(), [&](const PointRecord& a, const PointRecord& b) { return key(a) == key(b) && a.color == b.color; }),
		vEnds.end());
	for(const PointRecord& p : vEnds)
	{
		useColor(p.color);
		writeMark(p.x, p.y, std::max(POINT_MARK_SIZE, 2.0 * p.color.getWidth()));
		countObject();
	}
}

void Visualizer2::writeCircle(const CircleRecord& circ)
{
	double px(pageX(circ.x)), py(pageY(circ.y));
	double r(circ.radius * PAGE_SPAN / (range > 0.0 ? range : 1.0));
	outFile << px + r << "\t" << py << "\tmoveto\n";
	outFile << px << "\t" << py << "\t" << r << "\t0\t360\tarc\nclosepath\n";
	if(circ.color.isFill()) outFile << "gsave\n  fill\ngrestore\n";
}

void Visualizer2::writeLabel(const LabelRecord& l)
{
	const Point2& p(l.label.getPosition());
	if(l.label.hasMark()) writeMark(p.x(), p.y(), POINT_MARK_SIZE);
	outFile << "/Arial findfont " << l.label.getFontSize() << " scalefont\n setfont\n";
	outFile << pageX(p.x()) << "\t" << pageY(p.y()) << "\tmoveto\n(" << psString(l.label.getCS()) << ")\tshow\n";
}

void Visualizer2::writeFile()
{
	if(bFileClosed)
	{
		sendWarning("Visualizer2::writeFile()", "No effect. File has already been closed");
		return;
	}
	computeBoundingBox();
	writeHeader();
	writeHeaderLines();
	bCurrentColorValid = false;
	numObjectsSinceStroke = 0;
	// Each record in its colour; countObject strokes the path now and then.
	auto writeAll = [this](const auto& vRecords, auto writeOne) {
		for(const auto& record : vRecords)
		{
			useColor(record.color);
			writeOne(record);
			countObject();
		}
	};
	writeAll(vTriangles, [this](const TriangleRecord& t) { writeTriangle(t); });
	writeAll(vSegments, [this](const SegmentRecord& s) { writeSegment(s); });
	writeSegmentEndMarks();
	writeAll(vCircles, [this](const CircleRecord& circ) { writeCircle(circ); });
	writeAll(vPoints, [this](const PointRecord& p) { writeMark(p.x, p.y, POINT_MARK_SIZE); });
	writeAll(vLabels, [this](const LabelRecord& l) { writeLabel(l); });
	outFile << "stroke\nshowpage\n%%Trailer\n";
	outFile.close();
	bFileClosed = true;
}

} // namespace MIREL25D
