#pragma once
#include "Bbox2.h"
#include "GeomTestInline.h"
#include "HilbertGrid.h"
#include "ConstraintSegment2.h"
#include "ListenerTable.h"
#include "MirelExportMacro.h"
#include "MsgBase.h"
#include "Point2.h"
#include "Segment2.h"
#include "ProgressReporter.h"
#include "SimplePool.h"
#include "Triangle2.h"
#include "VertexVault.h"
#include "Zone2.h"
#include <atomic>
#include <cstddef>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace MIREL25D {

class ConstraintGraph2;
class ConstraintMgr;
struct ConstraintWork;
struct MirelExport;
class Visualizer2;
class Visualizer3;
// Quality mesh generation
class InnerVtxMgr;
class MeshGenParams;
class RefCand3;
class RefCandQueue;
struct RefineWork;
enum LocateResult : int; // where a point walk ends (MeshSurgery.h)

// The triangulation behind the facade Mirel_2D: an exact 2D Delaunay
// triangulation built incrementally (Hilbert order, visibility walk, split,
// in-circle flips). It owns the vertices, the triangles, the predicate object
// and the bounding box; heights are carried and never decide anything.
class MIREL_API Dt2
{
	// The parallel insertion works on the pools, the vault and the flip code.
	friend class InserterMT;
	friend class Chunk;
	// The constraint manager and segments call back into the constraint machinery.
	friend class ConstraintMgr;
	friend class ConstraintSegment2;

public:
	explicit Dt2(unsigned numExpectedVertices);
	~Dt2();
	Dt2(const Dt2&) = delete;
	Dt2& operator=(const Dt2&) = delete;

	// ---- Insertion ----
	Point2* insert(const Point2& p);
	// n points as x, y, z triples; handles[i] (handles may be null) receives the
	// vertex of input point i.
	void insert(int n, double* coords, Point2** handles);
	void insertVector(const std::vector<Point2>& vPoints, std::vector<Point2*>& vHandles);
	void insertVector(const std::vector<Point2>& vPoints);
	double measureTriangulationTime(std::vector<Point2>& vPoints);
	// Hands out n triangles from the pool; the vector must be empty on entry.
	void getFreshTriangles(size_t n, std::vector<Triangle2*>& vFreshTriangles);

	// ---- Counts and state ----
	size_t numberOfPoints() const { return vertexVault.numberOfPoints(); }
	size_t numberOfTriangles() const;
	bool hasArea() const { return vertexVault.isFullDimensional(); }
	bool is2D() const { return vertexVault.isFullDimensional(); }
	Bbox2 computeBoundingBox() const;

	// ---- Configuration ----
	void setName(const char* name_) { name = (name_ == nullptr) ? "" : name_; }
	const char* getName() const { return name.c_str(); }
	void setFastMode(bool bFast) { bFastMode = bFast; }
	bool isFastMode() const { return bFastMode; }
	int setNumCPU(int numCPU_);
	int getNumCPU() const { return numCPU; }

	// ---- Listeners ----
	void subscribe(MsgType msgType, MsgBase* pListener);
	void unsubscribe(MsgType msgType, MsgBase* pListener);
	// The operation reporting progress right now ("insert"), or null.
	const char* getCurrentOperation() const { return progress.getOperationName(); }

	GeomTest* getGeomTest() { return &geomTest; }
	VertexVault& getVertexVault() { return vertexVault; }

	// ---- Constraints (Dt2_constraints.cpp) ----
	ConstraintGraph2* createConstraint(std::vector<Segment2>& vSegments, ConstraintInsertionStrategy cis, bool orientedSegments);
	ConstraintSegment2* getConstraintSegment(Point2* p0, Point2* p1) const;
	void getAliveConstraintSegments(std::vector<ConstraintSegment2*>& vAliveConstraintSegments) const;
	void getAliveAndDeadConstraintSegments(std::vector<ConstraintSegment2*>& vAllConstraintSegments) const;
	bool isConstraint(Point2* p0, Point2* p1) const;
	bool isConstraint(Point2* p) const;
	bool isConstraint(Triangle2* pT, int ith) const;
	void applyConstraintsAndZones();
	bool hasConstraints() const { return bConstraintsExist; }
	ConstraintMgr* getConstraintMgr() { return pConstraintMgr; }

private:
	// ---- Pools ----
	Point2* newVertex() { return vertexPool.alloc(); }
	Triangle2* newTriangle()
	{
		++numAllT;
		return trianglePool.alloc();
	}
	// Released triangles are cleared (corner 0 null marks them dead) and reused first.
	void releaseTriangle(Triangle2* pT)
	{
		pT->clearProperties();
		trianglePool.release(pT);
		++numDeadT;
	}

	// ---- Insertion machinery ----
	// The batch insertion of both insertVector overloads; handles may be null.
	void insertPointVector(const std::vector<Point2>& vPoints, Point2** handles);
	// Adds points to the box; if it changed, doubles it about its centre (which
	// raises the predicates' error bound), sets up the Hilbert grid again and re-keys.
	template<class AddFunc>
	void growBox(AddFunc addPoints);
	// Sorts the batch by key, makes its vertices in key order (so that mesh
	// neighbours are memory neighbours) and inserts them.
	template<class XYFunc, class FillFunc>
	void insertBatch(size_t n, XYFunc getXY, FillFunc fillVertex, Point2** handles);
	// The same for a batch that goes to the parallel inserter: keys, sort and
	// vertices on numCPU threads; batchBox receives the batch's bounds.
	template<class XYFunc, class FillFunc>
	void makeBatchVerticesMT(size_t n, XYFunc getXY, FillFunc fillVertex, Point2** handles, Bbox2& batchBox);
	void triangulateRec(IdxVtxAct* first, IdxVtxAct* last, Triangle2* pStartT);
	// Inserts the record's vertex unless it is inactive or already in the mesh.
	Triangle2* insertRecord(IdxVtxAct* pRec, Triangle2* pStartT)
	{
		Point2* pVtx(pRec->pVtx);
		if(!pRec->active) return pStartT;
		if(pVtx->getIncidentTriangle() != nullptr) return pVtx->getIncidentTriangle();
		return insertVertex(pVtx, pStartT);
	}
	// Locates v from pStartT, splits and legalises; returns a triangle near v.
	Triangle2* insertVertex(Point2* v, Triangle2* pStartT);
	// The unguarded visibility walk from t (never null): see LocateResult.
	LocateResult locateConflictTriangle(const Point2* v, Triangle2*& t, int& e);
	void split13(Point2* v, Triangle2* t);
	void initVCheckT24(Point2* v, Triangle2* t, int e);
	void collectVisibleHullEdges(const Point2* v, Triangle2* pT, int ith, bool bForward, std::vector<std::pair<Triangle2*, int>>& vEdges);
	Triangle2* insertVertexCH(Point2* v, Triangle2* pT, int ith);
	void createFullDimTriangle();
	void triangulateCoplanarOrDuplicate();
	// Empties the flip stack; returns the last triangle handled.
	Triangle2* legalize();
	struct InsertionFlipPolicy;

	// ---- Constraint machinery (Dt2_constraints.cpp) ----
	// Called back by the constraint manager and segments (their friendship above).
	// Progress of long operations outside this unit (constraint establishment).
	ProgressReporter& getProgressReporter() { return progress; }
	// Establish one segment; false when double precision ran out.
	bool insertSegmentConformingDelaunay(ConstraintSegment2* pCSeg);
	bool newCDT_applyOneCS(ConstraintSegment2* pInitialCSeg);
	// Flips non-Delaunay, non-constraint edges breadth-first around pVtx.
	void bfsFlipIncident(Point2* pVtx);
	// Splits conforming pieces that are no longer Delaunay; false when double precision ran out.
	bool restoreConformingDelaunay();
	// Called for every split segment: its old edge is no longer locked.
	void noteSplitConstraint(ConstraintSegment2* pParentCSeg);
	void createConstraintMachinery();
	void destroyConstraintMachinery();
	// Asked before a flip the in-circle test wants: a constraint edge stays.
	bool isFlipLocked(Triangle2* pT, int i);
	ConstraintSegment2* getConstraintOnEdge(Triangle2* pT, int e) const;
	bool canBeFlipped(Triangle2* pT, int ith) const;
	int findSegmentStart(Point2* a, Point2* b, Triangle2*& pStartT, int& startEdge, Point2*& pVertexOnSegment);
	int walkSegment(Point2* a, Point2* b, Point2*& pVertexOnSegment, Triangle2*& pCrossT, int& crossEdge);
	bool newCDT_insertOrSplit(ConstraintSegment2* pCSeg, std::vector<ConstraintSegment2*>& vStack);
	bool splitAndApply(ConstraintSegment2* pCSeg, Point2* pSplit);
	bool splitAtCrossing(ConstraintSegment2* pCSeg, Triangle2* pCrossT, int crossEdge, std::vector<ConstraintSegment2*>& vStack);
	Point2* findVertexAt(const Point2& p);
	bool isInsideCrossingQuad(ConstraintSegment2* pCSeg, ConstraintSegment2* pCrossingCSeg, const Point2& q);
	Point2* nearestEndpoint(ConstraintSegment2* pCSeg, ConstraintSegment2* pCrossingCSeg, const Point2& q);
	void computeCrossing(ConstraintSegment2* pCSeg, ConstraintSegment2* pCrossingCSeg, double& x, double& y);
	void insertEdgeByFlips(Point2* a, Point2* b);
	void bfsFlipFromEdge(Point2* a, Point2* b);
	void legalizeUnlockedEdges();
	void flipQueuedEdges();
	bool runConformingLoop(std::vector<ConstraintSegment2*>& vStack);
	void takeLockedConformingEdges(std::vector<ConstraintSegment2*>& vStack);
	bool isDelaunayEdge(Point2* a, Point2* b);
	bool splitAtMidpoint(ConstraintSegment2* pPiece, std::vector<ConstraintSegment2*>& vStack);
	double getSurfaceHeightNearPiece(const Point2& p, double fallback);

	InlineGeomTest geomTest; // filtered stages inline in the hot paths
	Bbox2 bbx;
	HilbertGrid hilbertGrid;
	VertexVault vertexVault;
	SimplePool<Point2> vertexPool;
	SimplePool<Triangle2> trianglePool;
	size_t numAllT; // triangles made
	size_t numDeadT; // triangles released
	// Scratch lists of the insertion, reused from vertex to vertex.
	struct InsertionWork
	{
		std::vector<Triangle2*> vFlipStack; // triangles whose edge 0 is still to be examined
		std::vector<std::pair<Triangle2*, int>> vVisibleHullEdges; // work list of insertVertexCH
		std::vector<std::pair<Triangle2*, int>> vVisibleHullEdgesBack;
	};
	InsertionWork insertionWork;
	bool bFastMode;
	// Set once constraint segments exist; the flip loop then asks the constraint
	// lookup before every flip. While it is false no edge is locked.
	bool bConstraintsExist;
	ConstraintMgr* pConstraintMgr; // owns every constraint segment and graph
	ConstraintWork* pConstraintWork; // reused work lists of constraint insertion
	int numCPU;
	std::string name;
	ListenerTable mListeners;
	ProgressReporter progress;

	// ======================================================================
	// Queries and removal
	// ======================================================================
public:
	// The triangle containing p (p may lie on its border or a corner); null
	// outside the hull or while no triangle exists.
	Triangle2* locate(const Point2& p);
	// The triangle in which p1 directly follows p0 counterclockwise (the one to
	// the left of p0->p1), or null.
	Triangle2* getAdjacentTriangle(Point2* p0, Point2* p1) const;
	// Append counterclockwise from v's incident triangle, each once.
	void getIncidentTriangles(Point2* v, std::vector<Triangle2*>& vIncidentT) const;
	void getIncidentVertices(Point2* v, std::vector<Point2*>& vIncidentVtx) const;
	// Counterclockwise from the lexicographically smallest vertex. With
	// bAllVertices false, vertices inside straight stretches of the hull are dropped.
	void getConvexHull(bool bAllVertices, std::vector<Point2*>& vHullVtx);
	void getTrianglePointers(std::vector<Triangle2*>& vAllTriangles) const;
	// The triangle pool's blocks (first triangle, number handed out), so that
	// a walker can number triangles by their place in the pool.
	void getTriangleBlocks(std::vector<std::pair<Triangle2*, size_t>>& vBlocks) const;
	void getVertexPointers(std::vector<Point2*>& vAllVertices) const;
	bool checkValidity(bool bCheckEmptyCircles, const char* checkName);
	void remove(Point2* pVtx);
	void statistics(const char* statName) const;

private:
	// The rungs of checkValidity; each reports what it finds and returns whether all was well.
	bool checkCombinatorics(const std::vector<Triangle2*>& vT, std::vector<std::pair<Triangle2*, int>>& vLinkedEdges, std::set<Point2*>& sCorners) const;
	bool checkOrientations(const std::vector<Triangle2*>& vT);
	bool checkEmptyCircles(const std::vector<std::pair<Triangle2*, int>>& vLinkedEdges);
	bool checkVaultAgreement(const std::vector<Point2*>& vVertices, const std::set<Point2*>& sCorners) const;

	// A hole edge seen from outside: the triangle beyond it and the edge's index
	// there; pOuterT is null where the edge is (or becomes) a hull edge.
	struct HoleEdge
	{
		Triangle2* pOuterT;
		int idx;
	};
	// Fills the link polygon of v (vHoleVtx, vHoleEdge) and the umbrella
	// vUmbrellaT; returns whether the fan is closed (v not on the hull).
	bool collectUmbrella(Point2* v);
	void removeFromMesh(Point2* v);
	// Triangulates the simple polygon vPolyVtx/vPolyEdge (counterclockwise) by
	// ear clipping, preferring ears whose circumcircle holds no polygon vertex.
	void triangulatePolygon();
	// Position of a clippable ear of the polygon, or vPolyVtx.size() if none.
	size_t findEar(bool bDelaunayEar);
	Triangle2* makeHoleTriangle(Point2* a, Point2* b, Point2* c);
	void linkAcross(Triangle2* pT, int i, const HoleEdge& outer);
	// Lawson flips until every edge queued by the hole is locally Delaunay.
	void legalizeHole();
	void countRemovalStep();
	// The last triangle around the removed vertex went away: the remaining
	// points are collinear, so the vault holds them without triangles again.
	void dropToLowerDimension();

	// Scratch state of one removal (Dt2_removal.cpp), reused from vertex to vertex.
	struct RemovalWork
	{
		std::vector<Triangle2*> vUmbrellaT; // triangles around the vertex being removed, reused first
		std::vector<Point2*> vHoleVtx; // its link, counterclockwise
		std::vector<HoleEdge> vHoleEdge; // vHoleVtx[i] -> vHoleVtx[i+1]
		std::vector<size_t> vHullChain; // positions in vHoleVtx on the new hull
		std::vector<Point2*> vPolyVtx; // the polygon being clipped
		std::vector<HoleEdge> vPolyEdge; // vPolyVtx[i] -> vPolyVtx[i+1]
		std::vector<Triangle2*> vHoleT; // triangles made for the hole
		std::vector<std::pair<Triangle2*, int>> vHoleFlipStack;
		size_t numUmbrellaT = 0; // size of the umbrella, for the watchdog report
		size_t numRemovalSteps = 0;
		size_t maxRemovalSteps = 0; // the watchdog's cap
	};
	RemovalWork removalWork;

	// ======================================================================
	// Export and drawing
	// ======================================================================
public:
	// Fills the empty record with the live vertices (numbered in the vault's
	// order) and all triangles. With bClearAfterExport the vertices and
	// triangles are released while the arrays are filled, which keeps the
	// memory peak low; the triangulation is unusable afterwards and the facade
	// replaces it by a new one.
	void exportTriangulationArray(MirelExport& mirelExport, bool bWithCustomIndices, bool bClearAfterExport);
	// The capacity hint the pools were sized with.
	unsigned getNumExpectedVertices() const { return static_cast<unsigned>(vertexPool.getBlockSize()); }
	// Draws every triangle; with bWithConstraints the constraint edges are
	// drawn over them. Nothing is drawn while no triangle exists.
	void show(Visualizer2* pVis, bool bWithConstraints);
	void show(const char* filename, bool bWithConstraints);
	// 3D scenes of all triangles, or of pZone's when it is given: Geomview
	// LIST files, OBJ meshes and the browser scene directory.
	void showGeomview(Visualizer3* pVis, const char* color);
	void showGeomview(const char* filename, const char* color);
	void writeObj(const char* filename, Zone2* pZone);
	void writeWebScene(const char* path, Zone2* pZone);


	// ======================================================================
	// Zones
	// ======================================================================
public:
	// ZL_GLOBAL and the result locations without a graph; ZL_INSIDE,
	// ZL_OUTSIDE and ZL_BOUNDED with an oriented graph. Null with a message
	// for anything else and while the triangulation has no triangle.
	Zone2* createZone(ConstraintGraph2* pConstraintGraph, ZoneLocation zoneLoc, bool bVerbose);
	// ZL_INSIDE or ZL_OUTSIDE of several oriented graphs at once.
	Zone2* createZone(const std::vector<ConstraintGraph2*>& vConstraintGraphs, ZoneLocation zoneLoc, bool bVerbose);
	// ZL_GROW from startPoint, the graphs' edges being the barriers.
	Zone2* createZone(ConstraintGraph2* pConstraintGraph, ZoneLocation zoneLoc, const Point2& startPoint, bool bVerbose);
	Zone2* createZone(const std::vector<ConstraintGraph2*>& vConstraintGraphs, ZoneLocation zoneLoc, const Point2& startPoint, bool bVerbose);
	// A zone of exactly these triangles that survives later insertions: the
	// border of each connected component becomes a constraint graph and the
	// component is grown again from a point inside it.
	Zone2* createZone(std::vector<Triangle2*>& vTriangles, bool bVerbose);
	// Cuts the triangulation along the closed polyline (a constrained
	// polygon) and returns the zone inside it.
	Zone2* createZone_cookieCutter(std::vector<Segment2>& vSegments, bool bVerbose);
	void deleteZone(Zone2* pZone);

private:
	Zone2* addZone(Zone2* pZone);
	bool checkZoneArea();

	std::vector<Zone2*> vZones; // owned

	// ======================================================================
	// Quality mesh generation (Dt2_meshing.cpp)
	// ======================================================================
public:
	// Refines the record's zone until its bounds are met or cannot be improved.
	void refineMain3(MeshGenParams* pParams);
	// The vertices that refinement put on constraint segments.
	InnerVtxMgr* getInnerVtxMgr();
	// During a run with a height guide: whether an edge of pT climbs by at
	// least the triangle's longest 2D edge (sqLongest2D, squared) to a vertex
	// whose height differs from the guide's by at least that much as well.
	bool isAtHeightJump(Triangle2* pT, double sqLongest2D);

private:
	// Grid pre-meshing places its points with the refinement's own split and height rules.
	friend class GridMesher;
	enum EncroachResult
	{
		ENCROACH_NONE,
		ENCROACH_SPLIT,
		ENCROACH_BLOCKED
	};
	bool refineMain2(MeshGenParams* pParams);
	size_t computeInsertionLimit(MeshGenParams* pParams);
	void getInitialRefineCandidates(Zone2* pZone);
	void addRefCand(Triangle2* pT);
	void addRefCandsAround(Point2* pVtx);
	void addRefCandsInsideZone(Point2* pSrc, Point2* pTrg, Point2* pSplit);
	bool tryRefine(RefCand3* pRC, MeshGenParams* pParams);
	bool getRefinementHeight(double x, double y, Triangle2* pContainingT, MeshGenParams* pParams, double& height);
	int findEncroachedPiece(const Point2& cc, Triangle2* pStartT, MeshGenParams* pParams, Triangle2*& pPieceT, int& pieceIdx);
	bool isSplittable(Triangle2* pT, int i, MeshGenParams* pParams);
	bool splitForRefinement(RefCand3* pRC, Triangle2* pT, int i, MeshGenParams* pParams);
	bool splitConstraintEdge(Triangle2* pT, int i, MeshGenParams* pParams);
	bool findCollinearSplitPoint(const Point2& p1, const Point2& p2, const Point2& target, Point2& splitPoint);
	bool findEdgeNeighbourhoodPoint(Triangle2* pT, int i, Point2& q);
	bool insertVertexForRefinement(Point2* pNewVtx, Triangle2* pContainingTriangle);
	void destroyMeshingMachinery();

	RefCandQueue* pmmAng2RC = nullptr; // the candidate queue, only during a run
	RefineWork* pRefineWork = nullptr; // work lists of the run
	InnerVtxMgr* pInnerVtxMgr = nullptr; // made on first use

	// ======================================================================
	// Terrain heights and draping (Dt2_heights.cpp)
	// ======================================================================
public:
	// The height of the surface at (x, y): the planar interpolation in the
	// containing triangle, always within its corner heights. pApproxT, when
	// given, is where the search starts (it costs three orientation tests when
	// it already contains the point). Outside the hull, tolerance > 0 allows
	// the height of the nearest hull point within that 2D distance. False (and
	// height untouched) outside, while no triangle exists and for non-finite
	// coordinates (with a message).
	bool getHeight(double x, double y, double& height, Triangle2* pApproxT, double tolerance);
	// For a point outside the hull: the height of the nearest point of the
	// hull if it lies within tolerance (2D distance), else false.
	bool getNearbyHeight(double x, double y, double& height, double tolerance);
	// Many queries at once: each point found on the surface gets its height
	// as z and true in vHasHeight (resized to the number of points). The
	// queries are answered in Hilbert order, so each walk starts next to the
	// previous answer. Returns the number of points that got a height.
	size_t getHeights(std::vector<Point2>& vPoints, std::vector<bool>& vHasHeight, double tolerance);
	// Appends each segment laid onto the surface as a chain of 3D segments
	// (Dt2_drape.cpp). Parts outside the hull are cut off. zTolerance < 0 keeps
	// every edge crossing; otherwise points whose height differs less than
	// zTolerance from the simplified chain are left out. False for non-finite
	// input or while no triangle exists (with a message).
	bool drape(std::vector<Segment2>& vSegmentsIn, std::vector<Segment2>& vSegmentsOut, double zTolerance);
	// The surface points along a->b in order: the (clipped) source, every
	// crossing with a triangle edge, every vertex on the segment and the
	// (clipped) target. False when the segment misses the triangulation.
	bool getDrapePoints(const Point2& a, const Point2& b, std::vector<Point2>& vPoints);
	// For a source a outside the hull: where a->b enters the mesh, either
	// through hull edge entryEdge of pEntryT or at the hull vertex pEntryVtx.
	// False when the segment misses the hull.
	bool cutLineAtCH(const Point2& a, const Point2& b, Triangle2*& pEntryT, int& entryEdge, Point2*& pEntryVtx);

private:
	// The walk along a segment from its start inside the mesh, its entry at a
	// hull vertex or through a hull edge; appends the surface points.
	void walkAlongSegment(const Point2& a, const Point2& b, Triangle2* pT, int enterEdge, Point2* pVtx, bool bStartInside, std::vector<Point2>& vPoints);
	// The point where a->b crosses edge i of pT, its height interpolated along the edge.
	Point2 getEdgeCrossing(const Point2& a, const Point2& b, const Triangle2* pT, int i);
	// Walks from pT to q: true when q lies in the closed triangle pT, false when
	// it lies outside the hull beyond edge exitEdge of the hull triangle pT.
	bool walkToQuery(const Point2& q, Triangle2*& pT, int& exitEdge);
	// getHeight for finite coordinates, walking from pStartT.
	bool getHeightFrom(const Point2& q, Triangle2* pStartT, double& height, double tolerance);
	// Where a height walk to q starts: where the last one ended if that is
	// near, else the triangle the vault keeps near q's Hilbert key.
	Triangle2* getHeightWalkStart(const Point2& q);
	// The height in the triangle known to contain (x, y).
	double getHeightInTriangle(const Triangle2* pT, double x, double y) const;
	bool getNearbyHeightFromExit(const Point2& q, Triangle2* pT, int exitEdge, double& height, double tolerance);

	// Last triangle a height walk ended in; a hint only, checked for life
	// before use. Atomic so that concurrent height queries stay race-free.
	std::atomic<Triangle2*> pLastHeightT{nullptr};

	// ======================================================================
	// Splitting an edge at a given place (Dt2_cat_cutt.cpp)
	// ======================================================================
public:
	// Splits edge ith of pT, and the triangle across it, at a new vertex at p
	// (its z included). Where p, rounded off the edge, would make a triangle
	// clockwise or the hull reflex, the nearest of a few doubles around p that
	// keeps every triangle counterclockwise and the hull convex is taken; where
	// none of those is valid (p within a few units in the last place of a
	// corner with a narrow angle), a point moved from p toward the edge's
	// middle by the least power-of-two fraction that makes room. An
	// alive constraint piece on the edge is split at the new vertex. No flip
	// follows, so the result need not be Delaunay. Null, changing nothing, when
	// no such place exists. With a = corner ith, b, c the edge and d the corner
	// across it: pT becomes (a, b, new), its edge 1 faces the new (a, new, c),
	// its edge 0 the new (d, new, b), and the triangle across becomes (d, c, new).
	Point2* splitEdgeAt(Triangle2* pT, int ith, const Point2& p);

private:
	bool isValidEdgeSplit(Triangle2* pT, int ith, const Point2& p);
	// The place of splitEdgeAt: place holds p on entry, the result on success.
	bool findEdgeSplitPlace(Triangle2* pT, int ith, Point2& place);
	bool searchUlpRings(Triangle2* pT, int ith, const Point2& centre, int numRings, Point2& place);
	// The hull neighbour of the hull vertex pT->getCorner(idx) that is not
	// across the hull edge of pT; bForward picks the edge after the corner.
	Point2* getOtherHullNeighbour(Triangle2* pT, int idx, bool bForward) const;
};

} // namespace MIREL25D
