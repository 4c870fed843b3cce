#pragma once
#include "MirelExportMacro.h"
#include "Point2.h"
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace MIREL25D {

class Edge2;
class Segment2;
class StagedFile;
class Triangle2;
class VertexPair2;

// Writes a 3D scene for the Geomview viewer: a "LIST" file of OFF polyhedra
// and VECT polylines and points, each object in its own colour. Colours are
// texts of four numbers in 0..1: red, green, blue and alpha.
//
// The file is written under a temporary name and appears under its own name
// when closeFile() (or the destructor) completes it.
class MIREL_API Visualizer3
{
public:
	// Prints "Visualizer3: Writing <filename>" and starts the LIST.
	explicit Visualizer3(const char* filename);
	// Closes the file unless closeFile() did already; while an exception
	// unwinds the caller's scope the unfinished file is dropped instead.
	~Visualizer3();
	Visualizer3(const Visualizer3&) = delete;
	Visualizer3& operator=(const Visualizer3&) = delete;

	// Ends the LIST and puts the file in place; later writes go nowhere.
	// False when the file could not be opened or put in place.
	bool closeFile();
	// While set (the default), back faces of polyhedra are drawn dark violet.
	void setBackfaces(bool bBackfaces_);

	// The colour table, rows 0 to 26; null, with a message, for other rows.
	static const char* getColor(int i);
	// Successive colours of the table for successive objects, shared by all
	// writers of the process; CPURPLE and CLIGHTGRAY are never handed out.
	static const char* getNextColor();
	// The same, also skipping CWHITE; name receives the colour's name.
	static const char* getNextColorAndName(const char*& name);

	// One polyhedron. Corners shared by several triangles are written once.
	// With bWithEdges every triangle edge is added as a segment (CLAWNGREEN).
	void writeTriangles(const std::vector<Triangle2*>& vTriangles, const char* color, bool bWithEdges);
	// Consecutive triples of points form the triangles; with bWithEdges
	// Geomview draws the triangle edges.
	void writeTriangles(const std::vector<Point2>& vTriangleCorners, const char* color, bool bWithEdges);
	void writeTriangle(const Triangle2& t, const char* color);
	void writeTriangle(const Point2& p0, const Point2& p1, const Point2& p2, const char* color);

	// Polylines of two points each; with bWithEndPoints the end points too.
	void writeSegments(const std::vector<Segment2>& vSegments, const char* color, bool bWithEndPoints);
	void writeSegments(const std::vector<Edge2>& vEdges, const char* color, bool bWithEndPoints);
	void writeSegment(const Point2& p0, const Point2& p1, const char* color, bool bWithEndPoints);
	void writeVertexPairs(const std::vector<VertexPair2>& vVertexPairs, const char* color);

	// Points drawn linewidth pixels wide.
	void writePoints(const std::vector<Point2>& vPoints, unsigned linewidth, const char* color);
	void writePoints(const std::vector<Point2*>& vPoints, unsigned linewidth, const char* color);
	void writePoint(const Point2& p, unsigned linewidth, const char* color);

	// A transparent sphere around p.
	void writeBall(Point2& p, double radius);
	// From each triangle's centroid, a segment of length scale along its unit
	// normal (CLIGHTSEAGREAN).
	void writeNormals(const std::vector<Triangle2*>& vTriangles, double scale);
	// Each group of eight points is one box: corners 0..3 the bottom ring,
	// 4..7 the corners above them in the same order.
	void writeCubes(const std::vector<Point2>& vPoints, const char* color);

	static const char* const CLIGHTBLUE;
	static const char* const CDARKBLUE;
	static const char* const CYELLOW;
	static const char* const CPINK;
	static const char* const CBLACK;
	static const char* const CLIGHTBROWN;
	static const char* const CDARKBROWN;
	static const char* const CORANGE;
	static const char* const CPURPLE;
	static const char* const CGRAY;
	static const char* const CLIGHTGRAY;
	static const char* const CRED;
	static const char* const CGREEN;
	static const char* const CWHITE;
	static const char* const CRIMSON;
	static const char* const CDARKORANGE;
	static const char* const CGOLDENROD;
	static const char* const COLIVE;
	static const char* const CLAWNGREEN;
	static const char* const CGREENYELLOW;
	static const char* const CPALEGREEN;
	static const char* const CMEDSPRINGGREEN;
	static const char* const CLIGHTSEAGREAN;
	static const char* const CCYAN;
	static const char* const CSTEELBLUE;
	static const char* const MIDNIGHTBLUE;
	static const char* const CWHEAT;

private:
	void openFile();
	bool isWritable(const char* color, const char* place) const;
	void startList(size_t numVertices, size_t numFaces, bool bWithEdges);
	void writeCoordinates(const Point2& p);
	void writeTriangleList(const std::vector<const Point2*>& vCorners, const char* color, bool bWithEdges);
	void writeVect(const std::vector<Point2>& vVertices, size_t verticesPerPolyline, unsigned linewidth, const char* color);

	std::string filename;
	std::unique_ptr<StagedFile> pFile;
	bool bBackfaces;
	int numUncaughtAtStart;
	static int nextColor;
};

} // namespace MIREL25D
