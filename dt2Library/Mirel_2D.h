#pragma once
#include "Bbox2.h"
#include "ConstraintGraph2.h"
#include "ConstraintSegment2.h"
#include "GeomTest.h"
#include "MirelExportMacro.h"
#include "MsgBase.h"
#include "Point2.h"
#include "Segment2.h"
#include "Triangle2.h"
#include "Zone2.h"
#include <cstddef>
#include <vector>

namespace MIREL25D {

class Dt2;
class MeshGenParams;
struct MirelExport;
class Visualizer2;
class Visualizer3;

// The triangulation as the user sees it: a 2D Delaunay triangulation of points
// that carry a height. Every member forwards to the implementation object,
// which owns every vertex and triangle handed out; the pointers stay valid until
// the object is removed or this Mirel_2D is destroyed.
class MIREL_API Mirel_2D
{
public:
	// numExpectedVertices sizes the memory blocks (values below 3 count as 3);
	// it is a hint, any number of points can be inserted.
	explicit Mirel_2D(unsigned int numExpectedVertices = 1000);
	~Mirel_2D();
	Mirel_2D(const Mirel_2D&) = delete;
	Mirel_2D& operator=(const Mirel_2D&) = delete;

	// ---- Insertion. A point at the x and y of an existing vertex resolves to
	// that vertex, which keeps its own height and custom index. ----
	Point2* insert(const Point2& p);
	void insert(const std::vector<Point2>& vInputPoints);
	// vHandles[i] receives the vertex of vInputPoints[i].
	void insert(const std::vector<Point2>& vInputPoints, std::vector<Point2*>& vHandles);
	// numPoints points as x, y, z triples; aHandles (may be null) receives the vertices in input order.
	void insert(int numPoints, double* aCoordinates, Point2** aHandles);
	// Inserts the points and returns the elapsed time in seconds.
	double measureTriangulationTime(std::vector<Point2>& vPoints);

	// ---- Counts and state ----
	size_t numberOfPoints() const;
	size_t numberOfTriangles() const;
	bool hasArea() const;
	bool is2D() const;
	Bbox2 computeBoundingBox() const;
	Orientation2 getOrientation(const Point2& p0, const Point2& p1, const Point2& p2);

	// ---- Configuration ----
	void setName(const char* name);
	const char* getName() const;
	// Floating-point-only flip test: faster, possibly non-Delaunay among nearly cocircular points.
	void setFastMode(bool bFast);
	// n > 0 as given, n < 0 gives 1, 0 gives the number of hardware threads; returns the stored value.
	int setNumCPU(int numCPU);
	void enableMultithreading();

	// ---- Progress listeners (owned by the caller; unsubscribe before destroying them) ----
	void subscribe(MsgType msgType, MsgBase* pListener);
	void unsubscribe(MsgType msgType, MsgBase* pListener);

	// ---- Constraints: segments that must appear as edges ----
	// Inserts the end points and forces the segments into the mesh, splitting
	// them where they cross; null for an empty vector.
	ConstraintGraph2* createConstraint(std::vector<Segment2>& vSegments, ConstraintInsertionStrategy cis, bool orientedSegments = false);
	// The alive constraint segment between the two vertices, or null.
	ConstraintSegment2* getConstraintSegment(Point2* p0, Point2* p1) const;
	void getAliveConstraintSegments(std::vector<ConstraintSegment2*>& vAliveConstraintSegments) const;
	void getAliveAndDeadConstraintSegments(std::vector<ConstraintSegment2*>& vAllConstraintSegments) const;
	bool isConstraint(Point2* p0, Point2* p1) const;
	// p is an endpoint of some constraint segment.
	bool isConstraint(Point2* p) const;
	// The edge of pT opposite its corner ith is a constraint.
	bool isConstraint(Triangle2* pT, int ith) const;
	// Establishes constraints created while the triangulation had no area.
	void applyConstraintsAndZones();

	Dt2* getImpl();

	// ---- Queries and removal ----
	// The triangle containing p (its border included), null outside the hull.
	Triangle2* locate(const Point2& p);
	// The triangle to the left of the directed edge p0->p1, or null.
	Triangle2* getAdjacentTriangle(Point2* p0, Point2* p1);
	// Counterclockwise around v, starting at its incident triangle.
	void getIncidentTriangles(Point2* v, std::vector<Triangle2*>& vIncidentT);
	void getIncidentVertices(Point2* v, std::vector<Point2*>& vIncidentVtx);
	// Counterclockwise; with bAllVertices false, vertices inside straight hull stretches are left out.
	void getConvexHull(bool bAllVertices, std::vector<Point2*>& vHullVtx);
	void getTrianglePointers(std::vector<Triangle2*>& vAllTriangles);
	void getVertexPointers(std::vector<Point2*>& vAllVertices);
	bool checkValidity(bool bCheckEmptyCircles, const char* name);
	void statistics(const char* name);
	// The triangulation stays Delaunay; bad arguments give a warning and change nothing.
	void remove(Point2* pVtx);

	// ---- Export and drawing ----
	// Fills the empty record (see MirelExport). With clearAfterExport the
	// triangulation is released while the arrays are filled, which keeps the
	// memory peak low; this object is then empty again and keeps its thread
	// count and fast mode (its name and listeners start afresh).
	void exportTriangulation(MirelExport& mirelExport, bool withCustomIndices, bool clearAfterExport);
	// Draws the triangles into a PostScript file; with bWithConstraints the
	// constraint edges are drawn over them. Nothing is written while the
	// triangulation has no triangle.
	void show(const char* postscriptFilename, bool bWithConstraints = true);
	// Adds the triangles to the caller's drawing, which the caller writes.
	void show(Visualizer2* pVis, bool bWithConstraints = true);

	// ---- 3D scenes ----
	// The triangles as one Geomview polyhedron in color (a Visualizer3
	// colour text), into a new LIST file or into the caller's open one.
	void showGeomview(const char* filename, const char* color);
	void showGeomview(Visualizer3* pVis, const char* color);
	// A Wavefront OBJ mesh of all triangles, or of the zone's.
	void writeObj(const char* filename);
	void writeObj(const char* filename, Zone2* pZone);
	// A directory to open in a web browser: index.html shows the surface
	// (orbit, zoom, pan; colours by height; vertical exaggeration), also
	// from disk; 3d.obj holds the mesh for other programs. All triangles, or
	// the zone's. All files appear together or none.
	void writeWebScene(const char* path);
	void writeWebScene(const char* path, Zone2* pZone);

	// ---- Zones (owned by the triangulation; with bVerbose a refusal is
	// also reported here) ----
	// ZL_GLOBAL with a null graph; ZL_INSIDE, ZL_OUTSIDE, ZL_BOUNDED with an oriented graph.
	Zone2* createZone(ConstraintGraph2* pConstraintGraph, ZoneLocation zoneLoc, bool bVerbose = true);
	// ZL_INSIDE or ZL_OUTSIDE of several oriented graphs together.
	Zone2* createZone(const std::vector<ConstraintGraph2*>& vConstraintGraphs, ZoneLocation zoneLoc, bool bVerbose = true);
	// ZL_GROW: the triangles reachable from startPoint without crossing a graph edge.
	Zone2* createZone(ConstraintGraph2* pConstraintGraph, ZoneLocation zoneLoc, const Point2& startPoint, bool bVerbose = true);
	Zone2* createZone(const std::vector<ConstraintGraph2*>& vConstraintGraphs, ZoneLocation zoneLoc, const Point2& startPoint, bool bVerbose = true);
	// Exactly these triangles; their component borders become constraints so
	// that the zone survives later insertions.
	Zone2* createZone(std::vector<Triangle2*>& vTriangles, bool bVerbose = true);
	// Cuts the triangulation along the closed polyline; the zone inside it.
	Zone2* createZone_cookieCutter(std::vector<Segment2>& vSegments, bool bVerbose = true);
	void deleteZone(Zone2* pZone);

	// ---- Quality mesh generation ----
	// Refines the zone (ZL_INSIDE or ZL_BOUNDED) until every triangle has
	// angles of at least minAngleDegree (at most 30) and 2.5D edges of at most
	// maxEdgeLength, except where an input angle or a constraint edge shorter
	// than 2 x minEdgeLength prevents it.
	void refine(Zone2* pZone, double minAngleDegree, double minEdgeLength, double maxEdgeLength, bool bAllowConstraintSplitting);
	// The same with every parameter of the record (the caller owns it).
	void refineAdvanced(MeshGenParams* pParameters);

	// ---- Terrain: heights and draping ----
	// True and the surface height at (x, y): the planar interpolation in the
	// containing triangle, always within its corner heights. pApproxT (may be
	// null) is a triangle near the point where the search starts. Outside the
	// hull, a tolerance > 0 gives the height of the nearest hull point within
	// that distance. False otherwise (height is then not written), also for
	// non-finite coordinates, with a message.
	bool getHeight(double x, double y, double& height, Triangle2* pApproxT = nullptr, double tolerance = 0.0) const;
	// Many height queries at once, faster than one by one for scattered
	// points (answered in Hilbert order): each point that gets a height gets it
	// as its z, with true in vHasHeight (one entry per point). Points with
	// non-finite coordinates get none (one message). Returns the number found.
	size_t getHeights(std::vector<Point2>& vPoints, std::vector<bool>& vHasHeight, double tolerance = 0.0) const;
	// Appends each input segment laid onto the surface as a chain of 3D
	// segments; parts outside the hull are cut off. zTolerance < 0 keeps every
	// crossing of a triangle edge; otherwise the chain is simplified as long as
	// no left-out point differs in height by zTolerance or more from it. False
	// for segments with non-finite coordinates (skipped, with a message).
	bool drape(std::vector<Segment2>& vSegmentsIn, std::vector<Segment2>& vSegmentsOut, double zTolerance) const;

private:
	Zone2* reportNoZone(Zone2* pZone, bool bVerbose);
	bool acceptZoneSeed(const Point2& startPoint);

	Dt2* pImpl;
};

} // namespace MIREL25D
