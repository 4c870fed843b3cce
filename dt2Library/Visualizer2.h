#pragma once
#include "Color.h"
#include "Label.h"
#include "MirelExportMacro.h"
#include "Point2.h"
#include <fstream>
#include <string>
#include <vector>

namespace MIREL25D {

class Segment2;
class Edge2;
class Triangle2;
class Circle2;

// Draws 2D shapes into a one-page PostScript file. Objects are collected with
// a colour each; writeFile() fits the bounding box of everything onto an A4
// page (the longer side spans 480 points) and writes the file.
class MIREL_API Visualizer2
{
public:
	explicit Visualizer2(const char* filename);
	// Writes the file unless writeFile() did already.
	~Visualizer2();
	Visualizer2(const Visualizer2&) = delete;
	Visualizer2& operator=(const Visualizer2&) = delete;

	void addObject(const Point2& p, const Color& c);
	void addObject(const Segment2& seg, const Color& c);
	void addObject(const Edge2& edge, const Color& c);
	void addObject(const Triangle2& t, const Color& c);
	void addObject(const Circle2& circ, const Color& c);
	void addObject(const Label& label, const Color& c);
	void addObject(const std::vector<Point2>& vPoints, const Color& c);
	void addObject(const std::vector<Point2*>& vPoints, const Color& c);
	void addObject(const std::vector<Segment2>& vSegments, const Color& c);
	void addObject(const std::vector<Edge2>& vEdges, const Color& c);
	void addObject(const std::vector<Triangle2>& vTriangles, const Color& c);
	void addObject(const std::vector<Triangle2*>& vTriangles, const Color& c);

	// A text line in the page header; at most MAX_HEADER_LINES are kept.
	void addHeaderLine(const char* s);
	// Writes and closes the file; later calls only report.
	void writeFile();

	static const size_t MAX_HEADER_LINES = 10;

private:
	// Shapes are copied at once: the mesh may change before the file is written.
	struct PointRecord
	{
		double x, y;
		Color color;
	};
	struct SegmentRecord
	{
		double x0, y0, x1, y1;
		Color color;
	};
	struct TriangleRecord
	{
		double x[3], y[3];
		Color color;
	};
	struct CircleRecord
	{
		double x, y, radius;
		Color color;
	};
	struct LabelRecord
	{
		Label label;
		Color color;
	};

	void addSegment(const Point2& p0, const Point2& p1, const Color& c);
	void computeBoundingBox();
	void extendBoundingBox(double x, double y);
	double pageX(double x) const;
	double pageY(double y) const;
	void writeHeader();
	void writeHeaderLines();
	void useColor(const Color& c);
	void countObject();
	void writeMark(double x, double y, double d);
	void writeTriangle(const TriangleRecord& t);
	void writeSegment(const SegmentRecord& s);
	void writeSegmentEndMarks();
	void writeCircle(const CircleRecord& circ);
	void writeLabel(const LabelRecord& l);

	std::string filename;
	std::ofstream outFile;
	std::vector<SegmentRecord> vSegments;
	std::vector<TriangleRecord> vTriangles;
	std::vector<PointRecord> vPoints;
	std::vector<CircleRecord> vCircles;
	std::vector<LabelRecord> vLabels;
	std::vector<std::string> vHeaderLines;
	double minX, minY, maxX, maxY;
	bool bBoxValid;
	double range;
	int numObjectsSinceStroke;
	Color currentColor;
	bool bCurrentColorValid;
	bool bFileClosed;
};

} // namespace MIREL25D
