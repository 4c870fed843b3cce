#pragma once
#include "Bbox2.h"
#include "Edge2.h"
#include "ListenerTable.h"
#include "MirelExportMacro.h"
#include "MsgBase.h"
#include "Point2.h"
#include "Segment2.h"
#include <cstddef>
#include <vector>

namespace MIREL25D {

class ConstraintGraph2;
class Dt2;
class Triangle2;
class Visualizer2;
class Visualizer3;

enum ZoneLocation
{
	ZL_GLOBAL = 0,               // all triangles
	ZL_INSIDE = 1,               // inside the zone's constraint graphs
	ZL_OUTSIDE = 2,              // outside them
	ZL_GROW = 3,                 // reachable from the seed points without crossing a graph edge
	ZL_UNION_RESULT = 4,         // set operations on two operand zones
	ZL_INTERSECTION_RESULT = 5,
	ZL_DIFFERENCE_RESULT = 6,
	ZL_SYMDIFF_RESULT = 7,
	ZL_BOUNDED = 8               // as ZL_INSIDE; accepted by mesh generation
};

// Strategies of Zone2::slopeValleyRidgeOptimization.
enum OptimizationMode
{
	OM_FAST = 0,       // greedy local flips until no single flip improves
	OM_BEST_FIRST = 1, // the most improving flip first, then as OM_FAST
	OM_LOOKAHEAD = 2   // as OM_BEST_FIRST, then pairs of flips that improve together
};

// A region of the triangulation. It stores a rule, not triangles: every
// query evaluates the rule on the current mesh, so a zone stays correct while
// vertices and constraints are inserted. Zones bounded by constraint graphs
// rely on the graph edges being constraints: they survive any insertion.
//
// Zones are made and deleted only by their triangulation (Dt2::createZone,
// deleteZone, or with the triangulation).
class MIREL_API Zone2
{
public:
	// The zone's triangles in address order; empty (with a message) while the
	// triangulation has no triangle.
	void getTriangles(std::vector<Triangle2*>& vTrianglesOut) const;
	size_t getNumberOfTriangles() const;
	// The distinct corners of the zone's triangles.
	void getVertices(std::vector<Point2*>& vVerticesOut) const;
	double getArea2D() const;
	double getArea25D() const;
	Bbox2 getBoundingBox() const;
	// Edges of zone triangles whose neighbour is missing or outside the zone,
	// each seen from its zone triangle (so the zone lies to the left).
	void getBorderEdges(std::vector<Edge2>& vBorderEdgesOut) const;
	void getBoundaryEdges(std::vector<Edge2>& vBoundaryEdgesOut) const;
	void getBoundarySegments(std::vector<Segment2>& vBoundarySegmentsOut) const;
	ZoneLocation getZoneLocation() const { return zoneLoc; }
	// The single bounding graph; null (with a message) when there are several.
	ConstraintGraph2* getConstraintGraph() const;
	void getConstraintGraphs(std::vector<ConstraintGraph2*>& vConstraintGraphsOut) const;
	size_t numberOfConstraintGraphs() const { return vConstraintGraphs.size(); }
	Dt2* getDelaunayTriangulation() const { return pDt2; }
	// A new ZL_BOUNDED zone of the same triangles, bounded by one new oriented
	// graph along this zone's border; null for an empty zone.
	Zone2* convertToBoundedZone();
	// Prints the triangle count, the interior angle histogram and the
	// dihedral angle histogram of the zone.
	void statistics(const char* statName) const;
	// Prints the histogram of the angles between the normals of neighbouring
	// zone triangles (0 degrees: coplanar).
	void analyzeAngles(const char* name) const;
	// Draws the zone's triangles (filled) and its bounding graphs; with
	// bShowFull the other triangles too.
	void show(const char* postscriptFilename, bool bShowFull = true) const;
	void show(Visualizer2* pVisualizer, bool bShowFull = true) const;
	// ---- 3D scenes of the zone's triangles ----
	// One Geomview polyhedron in color, into a new LIST file or into the
	// caller's open one; nothing for an empty zone.
	void showGeomview(const char* filename, const char* color) const;
	void showGeomview(Visualizer3* pVisualizer, const char* color) const;
	// An OBJ mesh (1-based, counterclockwise faces, so normals point up).
	void writeObj(const char* filename) const;
	// Progress of long evaluations ("ZoneProgress") to MSG_PROGRESS listeners.
	void subscribe(MsgType msgType, MsgBase* pListener);
	void unsubscribe(MsgType msgType, MsgBase* pListener);

	// ---- Surface operations on the zone's terrain ----
	// They act only on the zone's triangles: a flip needs both triangles of an
	// edge in the zone, constraint edges are never flipped, every flip is of a
	// strictly convex quadrilateral (exact orientation tests), and the zone
	// keeps the same triangle objects. Each returns false, with a message and
	// nothing changed, for bad arguments or an empty zone.
	//
	// Smooths the heights of the zone's inner vertices (x and y stay) with
	// numIterations Taubin steps (a shrinking step, lambda 0.5, then an
	// inflating one, mu -0.53) of a Laplacian with cotangent weights, which
	// reproduces planes, so the terrain does not shrink and planar parts stay
	// planar up to rounding (where the zone is not Delaunay, negative weights
	// count as zero). Vertices on the zone's border or the hull and
	// constraint vertices keep their heights. Costs O(vertices) memory and
	// O(vertices x numIterations) time.
	bool smoothing(int numIterations);
	// Data-dependent triangulation: flips edges so that valleys and ridges
	// follow the data, lowering the sum over the zone triangles' edges of the
	// angle between the normals of the two triangles at the edge (edges to
	// triangles outside the zone count too; those triangles never change).
	// OM_FAST is the greedy local optimisation, about O(edges) flips tests;
	// OM_BEST_FIRST keeps a priority queue (O(edges log edges)) and usually
	// ends lower; OM_LOOKAHEAD adds sweeps that try each edge with each
	// follow-up flip (several sweeps over the edges). The mesh is no longer
	// Delaunay inside the zone: Dt2::checkValidity(true) reports the flipped
	// edges, a later insertion restores the Delaunay property only around the
	// new vertex.
	bool slopeValleyRidgeOptimization(OptimizationMode optimizationMode);
	// As OM_FAST, restricted: only edges whose normal angle is at least
	// minEdgeAngleDeg degrees are flipped (nearly flat parts keep their
	// edges), and a flip must leave every interior 2D angle of both new
	// triangles at least minInteriorAngleDeg degrees (0 to 60).
	bool optimizeValleysAndRidges(double minEdgeAngleDeg, double minInteriorAngleDeg);
	// Snaps nearly grid-aligned inner vertices onto an exact grid: the x
	// coordinates of the zone's vertices are grouped into runs no wider than
	// tolerance, and each movable vertex takes its run's most frequent x (the
	// median where none repeats), the same for y, so that jittered columns and
	// rows become exact. Only inner vertices
	// (not on the zone's border, the hull or a constraint) move, and only
	// where all their triangles stay strictly counterclockwise; z stays. Then
	// edges inside the zone are made Delaunay again around the moved vertices
	// (exact in-circle flips; constraint edges and edges to triangles outside
	// the zone stay). Costs O(vertices log vertices).
	bool unifyGrid(double tolerance);

	// ---- Internal: zones are made and destroyed by Dt2 ----
	// The argument rules of zone creation, in one place: the triangulation
	// answers a fault with a warning and null, a constructor with an error and
	// the assertion banner. argumentFaults returns the ArgumentFault bits of
	// graphs and location for a zone of the given kind.
	enum ArgumentFault : unsigned
	{
		AF_EMPTY = 1,        // no graph where one is needed
		AF_NULL_GRAPH = 2,   // a null graph
		AF_LOCATION = 4,     // a location this kind of zone does not take
		AF_NOT_ORIENTED = 8  // a graph that is not oriented
	};
	enum ZoneKind
	{
		ZK_ONE_GRAPH, // ZL_INSIDE, ZL_OUTSIDE or ZL_BOUNDED of one oriented graph
		ZK_GRAPHS,    // ZL_INSIDE or ZL_OUTSIDE of oriented graphs
		ZK_GROW       // ZL_GROW; the graphs are barriers only
	};
	static unsigned argumentFaults(const std::vector<ConstraintGraph2*>& vGraphs, ZoneLocation loc, ZoneKind kind);
	// ZL_GLOBAL and the result locations.
	Zone2(Dt2* pDt2_, ZoneLocation zoneLoc_);
	// ZL_INSIDE, ZL_OUTSIDE, ZL_BOUNDED bounded by one oriented graph.
	Zone2(Dt2* pDt2_, ConstraintGraph2* pConstraintGraph, ZoneLocation zoneLoc_);
	// ZL_INSIDE, ZL_OUTSIDE bounded by several oriented graphs.
	Zone2(Dt2* pDt2_, const std::vector<ConstraintGraph2*>& vConstraintGraphs_, ZoneLocation zoneLoc_);
	// ZL_GROW from the seed points, the graphs' edges being the barriers.
	Zone2(Dt2* pDt2_, const std::vector<ConstraintGraph2*>& vConstraintGraphs_, const std::vector<Point2>& vStartPoints_);
	~Zone2();
	Zone2(const Zone2&) = delete;
	Zone2& operator=(const Zone2&) = delete;
	// Result zones: the operands, first then second.
	void addInputZone(Zone2* pInputZone);
	// Operands of a result zone (empty otherwise).
	void getInputZones(std::vector<Zone2*>& vInputZonesOut) const;

private:
	struct FloodFill;
	// Seeds of ZL_INSIDE/ZL_BOUNDED (bInside) or ZL_OUTSIDE: the triangles
	// beside the directed ring edges of the bounding graphs.
	void initWorkspace(bool bInside, std::vector<Triangle2*>& vSeeds) const;
	void bfsFromWorkspace(std::vector<Triangle2*>& vSeeds, std::vector<Triangle2*>& vTrianglesOut) const;
	void growZoneArea(std::vector<Triangle2*>& vTrianglesOut) const;
	void getTriangles_RESULT(std::vector<Triangle2*>& vTrianglesOut) const;
	void collectBarriers(FloodFill& fill) const;

	Dt2* pDt2;
	ZoneLocation zoneLoc;
	std::vector<ConstraintGraph2*> vConstraintGraphs;
	std::vector<Point2> vStartPoints;
	std::vector<Zone2*> vInputZones;
	ListenerTable mListeners;
};

// A user's test for peelOffIf: true means the triangle is to be removed.
class MIREL_API UserPredicateT
{
public:
	virtual ~UserPredicateT();
	virtual bool operator()(const Triangle2* pT) = 0;
};

// Set operations. The result zone remembers its two operands and evaluates
// the operation on each query, so it follows later changes of the mesh. Null
// when the operands belong to different triangulations or the triangulation
// has no triangle yet.
MIREL_API Zone2* zoneUnion(Zone2* pZone0, Zone2* pZone1);
MIREL_API Zone2* zoneIntersection(Zone2* pZone0, Zone2* pZone1);
// The triangles of pZone0 that are not in pZone1.
MIREL_API Zone2* zoneDifference(Zone2* pZone0, Zone2* pZone1);
MIREL_API Zone2* zoneSymmetricDifference(Zone2* pZone0, Zone2* pZone1);

// Removes border triangles of pZone for which the predicate is true, layer by
// layer: a triangle is asked only while it lies on the border, so interior
// triangles are examined once their surroundings are gone. Returns a new zone
// of the remaining triangles, or null when none remains.
MIREL_API Zone2* peelOffIf(Zone2* pZone, UserPredicateT* pPredicate, bool bVerbose = false);

} // namespace MIREL25D
