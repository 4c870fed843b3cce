#include "Dt2.h"
#include "MeshSurgery.h"
#include "InserterMT.h"
#include "MirelExport.h"
#include "MirelExportFill.h"
#include "tools.h"
#include "Circle2.h"
#include "ConnectedComponent.h"
#include "ConstraintGraph2.h"
#include "Segment2.h"
#include "Visualizer2.h"
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cmath>
#include <cstdlib>
#include <iomanip>
#include <array>
#include <iostream>
#include <memory>
#include <set>
#include <sstream>
#include <thread>

namespace MIREL25D {

Dt2::Dt2(unsigned numExpectedVertices)
	: bbx(&geomTest), vertexVault(&geomTest, &hilbertGrid), numAllT(0), numDeadT(0), bFastMode(false), bConstraintsExist(false), numCPU(1),
	  progress(mListeners)
{
	size_t n(numExpectedVertices < 3 ? 3 : numExpectedVertices);
	vertexPool.init(n);
	trianglePool.init(2 * n + 10);
	insertionWork.vFlipStack.reserve(64);
	createConstraintMachinery();
}

Dt2::~Dt2()
{
	// Zones first: they only refer to the constraint graphs.
	for(Zone2* pZone : vZones) delete pZone;
	destroyConstraintMachinery();
	destroyMeshingMachinery();
}

// ======================================================================
// Entry points
// ======================================================================

Point2* Dt2::insert(const Point2& p)
{
	growBox([&]() { return bbx.add(p); });
	Point2* pVtx(nullptr);
	if(vertexVault.isFullDimensional())
	{
		pVtx = newVertex();
		pVtx->set(p);
		uint32_t key(hilbertGrid.getKey(p.x(), p.y()));
		vertexVault.addOne(pVtx, key);
		insertVertex(pVtx, vertexVault.getCloseTriangle(key));
		if(!vertexVault.dupIsClean()) return vertexVault.treatOneDupGetHandle(pVtx);
		return pVtx;
	}
	Point2* pExisting(vertexVault.findActiveVertexAt(p));
	if(pExisting != nullptr) return pExisting;
	pVtx = newVertex();
	pVtx->set(p);
	vertexVault.addOne(pVtx, hilbertGrid.getKey(p.x(), p.y()));
	createFullDimTriangle();
	return pVtx;
}

void Dt2::insert(int n, double* coords, Point2** handles)
{
	MIREL_ASSERT(vertexVault.dupIsClean());
	if(n == 0) return;
	if(n < 0 || coords == nullptr)
	{
		sendWarning("Dt2::insert(..)", "no coordinates or a negative number of points, nothing inserted");
		return;
	}
	size_t numPoints(static_cast<size_t>(n));
	progress.start("insert", 1.1 * double(numPoints));
	growBox([&]() { return bbx.add(numPoints, coords); });
	insertBatch(
		numPoints,
		[coords](size_t i, double& x, double& y) {
			x = coords[3 * i];
			y = coords[3 * i + 1];
		},
		[coords](size_t i, Point2* pVtx) { pVtx->set(coords[3 * i], coords[3 * i + 1], coords[3 * i + 2], -1); }, handles);
}

void Dt2::insertVector(const std::vector<Point2>& vPoints, std::vector<Point2*>& vHandles)
{
	MIREL_ASSERT(vertexVault.dupIsClean());
	vHandles.assign(vPoints.size(), nullptr);
	insertPointVector(vPoints, vHandles.empty() ? nullptr : &vHandles[0]);
}

void Dt2::insertVector(const std::vector<Point2>& vPoints)
{
	MIREL_ASSERT(vertexVault.dupIsClean());
	insertPointVector(vPoints, nullptr);
}

void Dt2::insertPointVector(const std::vector<Point2>& vPoints, Point2** handles)
{
	if(vPoints.empty()) return;
	progress.start("insert", 1.1 * double(vPoints.size()));
	growBox([&]() {
		bool bChanged(false);
		for(const Point2& p : vPoints) bChanged = bbx.add(p) || bChanged;
		return bChanged;
	});
	insertBatch(
		vPoints.size(), [&vPoints](size_t i, double& x, double& y) { vPoints[i].xy(x, y); }, [&vPoints](size_t i, Point2* pVtx) { pVtx->set(vPoints[i]); },
		handles);
}

double Dt2::measureTriangulationTime(std::vector<Point2>& vPoints)
{
	auto start(std::chrono::steady_clock::now());
	insertVector(vPoints);
	std::chrono::duration<double> elapsed(std::chrono::steady_clock::now() - start);
	return elapsed.count();
}

void Dt2::getFreshTriangles(size_t n, std::vector<Triangle2*>& vFreshTriangles)
{
	MIREL_ASSERT(vFreshTriangles.empty());
	vFreshTriangles.reserve(n);
	for(size_t i = 0; i < n; ++i) vFreshTriangles.push_back(newTriangle());
}

size_t Dt2::numberOfTriangles() const
{
	MIREL_ASSERT(numDeadT<=numAllT);
	return numAllT - numDeadT;
}

Bbox2 Dt2::computeBoundingBox() const
{
	Bbox2 box;
	for(size_t i = 0; i < vertexVault.size(); ++i)
	{
		const IdxVtxAct* pRec(vertexVault.getRecord(i));
		if(pRec->active) box.add(*pRec->pVtx);
	}
	return box;
}

int Dt2::setNumCPU(int numCPU_)
{
	if(numCPU_ > 0) numCPU = numCPU_;
	else if(numCPU_ < 0) numCPU = 1;
	else
	{
		unsigned numHardwareThreads(std::thread::hardware_concurrency());
		numCPU = numHardwareThreads < 1 ? 1 : static_cast<int>(numHardwareThreads);
	}
	return numCPU;
}

void Dt2::subscribe(MsgType msgType, MsgBase* pListener)
{
	mListeners.add(msgType, pListener);
}

void Dt2::unsubscribe(MsgType msgType, MsgBase* pListener)
{
	mListeners.remove(msgType, pListener);
}

// ======================================================================
// Batch insertion
// ======================================================================

template<class AddFunc>
void Dt2::growBox(AddFunc addPoints)
{
	if(!addPoints()) return;
	bbx.doubleTheBox();
	hilbertGrid.setup(bbx.get_minX(), bbx.get_minY(), bbx.get_maxX(), bbx.get_maxY());
	vertexVault.rekey();
}

template<class XYFunc, class FillFunc>
void Dt2::makeBatchVerticesMT(size_t n, XYFunc getXY, FillFunc fillVertex, Point2** handles, Bbox2& batchBox)
{
	std::unique_ptr<uint64_t[]> aPairs(new uint64_t[2 * n]);
	uint64_t* pPairs(aPairs.get());
	// The keys, and on the way the batch's bounds for the fake box.
	size_t numTasks(static_cast<size_t>(numCPU));
	std::vector<std::array<double, 4>> vBounds(numTasks, std::array<double, 4>{{LARGEST_DOUBLE, LARGEST_DOUBLE, -LARGEST_DOUBLE, -LARGEST_DOUBLE}});
	InserterMT::parallelTasks(numTasks, [&](size_t t) {
		std::array<double, 4>& bounds(vBounds[t]);
		for(size_t i = n * t / numTasks; i < n * (t + 1) / numTasks; ++i)
		{
			double x(0.0), y(0.0);
			getXY(i, x, y);
			pPairs[i] = (uint64_t(hilbertGrid.getKey(x, y)) << 32) | uint64_t(i);
			bounds[0] = std::min(bounds[0], x);
			bounds[1] = std::min(bounds[1], y);
			bounds[2] = std::max(bounds[2], x);
			bounds[3] = std::max(bounds[3], y);
		}
	});
	for(const std::array<double, 4>& bounds : vBounds)
	{
		if(bounds[0] > bounds[2]) continue; // an empty slice
		batchBox.add(Point2(bounds[0], bounds[1], 0.0));
		batchBox.add(Point2(bounds[2], bounds[3], 0.0));
	}
	InserterMT::sortKeyIndexPairsMT(numCPU, pPairs, pPairs + n, n);
	// Only pointers are handed out here; the threads below initialise the
	// records and vertices, which also spreads the first touch of their memory.
	IdxVtxAct* aRecords(vertexVault.appendRecords(n));
	std::vector<std::pair<Point2*, size_t>> vRuns;
	size_t numGot(vertexPool.allocRawRuns(n, vRuns));
	MIREL_ASSERT(numGot==n);
	InserterMT::parallelFor(numCPU, n, [&](size_t b, size_t e) {
		// Vertex k is the k-th object of the runs.
		size_t run(0), runStart(0);
		while(runStart + vRuns[run].second <= b) runStart += vRuns[run++].second;
		for(size_t k = b; k < e; ++k)
		{
			if(k == runStart + vRuns[run].second) runStart += vRuns[run++].second;
			size_t i(pPairs[k] & 0xffffffffu);
			Point2* pVtx(new(vRuns[run].first + (k - runStart)) Point2());
			fillVertex(i, pVtx);
			if(handles != nullptr) handles[i] = pVtx;
			IdxVtxAct* pRec(aRecords + k);
			pRec->key = uint32_t(pPairs[k] >> 32);
			pRec->active = 1;
			pRec->pVtx = pVtx;
		}
	});
}

template<class XYFunc, class FillFunc>
void Dt2::insertBatch(size_t n, XYFunc getXY, FillFunc fillVertex, Point2** handles)
{
	bool bParallel(numCPU > 1 && n >= 1000 && !bConstraintsExist);
	Bbox2 batchBox;
	if(bParallel) makeBatchVerticesMT(n, getXY, fillVertex, handles, batchBox);
	else
	{
		// The vertices are made in key order: points that are close on the curve
		// are then close in memory, which keeps the walk and the flips in cache.
		std::vector<uint64_t> vPairs(2 * n);
		for(size_t i = 0; i < n; ++i)
		{
			double x(0.0), y(0.0);
			getXY(i, x, y);
			vPairs[i] = (uint64_t(hilbertGrid.getKey(x, y)) << 32) | uint64_t(i);
		}
		VertexVault::sortKeyIndexPairs(&vPairs[0], &vPairs[n], n);
		vertexVault.reserveBatch(n);
		for(size_t k = 0; k < n; ++k)
		{
			size_t i(vPairs[k] & 0xffffffffu);
			Point2* pVtx(newVertex());
			fillVertex(i, pVtx);
			if(handles != nullptr) handles[i] = pVtx;
			vertexVault.appendSorted(pVtx, uint32_t(vPairs[k] >> 32));
		}
	}
	progress.advance(0.1 * double(n));

	if(bParallel) InserterMT::insertBatch(*this, batchBox);
	else if(vertexVault.isFullDimensional())
	{
		// The batch is sorted at the end of the store; start triangles for the
		// walk come from the older, merged part until the batch is merged too.
		IdxVtxAct* first(vertexVault.getRecords() + vertexVault.getNumSorted());
		IdxVtxAct* last(vertexVault.getRecords() + vertexVault.size());
		Triangle2* pStartT(vertexVault.getCloseTriangle(first->key));
		MIREL_ASSERT(pStartT!=0);
		triangulateRec(first, last, pStartT);
		vertexVault.mergeBatch();
	}
	else
	{
		vertexVault.mergeBatch();
		createFullDimTriangle();
		if(!vertexVault.isFullDimensional()) triangulateCoplanarOrDuplicate();
	}
	vertexVault.treatDupsAndHandles(handles, n);
	progress.finish();
}

// Middle-first insertion (MeshSurgery::insertMiddleFirst) of a key-sorted
// range of records. The middle is moved back to the start of its run of equal
// keys: points at the same place share their key, so the first of them in
// input order is always inserted first and stays while the later ones become
// its duplicates.
void Dt2::triangulateRec(IdxVtxAct* first, IdxVtxAct* last, Triangle2* pStartT)
{
	struct RecordOps
	{
		Dt2& dt;
		Triangle2* insert(IdxVtxAct* pRec, Triangle2* pT) { return dt.insertRecord(pRec, pT); }
		IdxVtxAct* runStart(IdxVtxAct* pFirst, IdxVtxAct* pMid)
		{
			while(pMid > pFirst && (pMid - 1)->key == pMid->key) --pMid;
			return pMid;
		}
		IdxVtxAct* runEnd(IdxVtxAct* pMid, IdxVtxAct* pLast)
		{
			IdxVtxAct* pEnd(pMid + 1);
			while(pEnd < pLast && pEnd->key == pMid->key) ++pEnd;
			return pEnd;
		}
		Triangle2* rightStart(IdxVtxAct* pMid, Triangle2* pMidT, Triangle2* /*pLeftEndT*/)
		{
			// A duplicate or inactive middle has no triangle of its own; the triangle
			// where it was handled is still alive (insertion releases none) and near.
			Triangle2* pStartT(pMid->active ? pMid->pVtx->getIncidentTriangle() : nullptr);
			if(pStartT == nullptr) pStartT = pMidT;
			MIREL_ASSERT_PINNED(pStartT!=0, "Dt2.cpp", 2422);
			return pStartT;
		}
	};
	RecordOps ops{*this};
	MeshSurgery::insertMiddleFirst(first, last, pStartT, ops);
}

// The first triangle: three non-collinear points near each other on the curve,
// then every other stored vertex by the recursive insertion from it.
void Dt2::createFullDimTriangle()
{
	Point2 *a(nullptr), *b(nullptr), *c(nullptr);
	size_t idxA(0);
	if(!vertexVault.getThreeInitialPoints(a, b, c, &idxA)) return;
	Orientation2 ori(geomTest.getOrientation2(a, b, c));
	MIREL_ASSERT(ori!=ORIENTATION2_COLLINEAR);
	if(ori == ORIENTATION2_CW) std::swap(b, c);
	Triangle2* pT(newTriangle());
	pT->setProperties(a, b, c);
	vertexVault.setFullDimensional();

	IdxVtxAct* records(vertexVault.getRecords());
	triangulateRec(records, records + idxA, pT);
	triangulateRec(records + idxA + 1, records + vertexVault.size(), a->getIncidentTriangle());
}

// No triangle exists (all points collinear or identical): duplicates are found
// by comparing places instead of by point location.
void Dt2::triangulateCoplanarOrDuplicate()
{
	MIREL_ASSERT(!vertexVault.isFullDimensional());
	vertexVault.registerDupsAmongActive();
}

// ======================================================================
// Inserting one vertex
// ======================================================================

Triangle2* Dt2::insertVertex(Point2* v, Triangle2* pStartT)
{
	progress.step();
	Triangle2* pT(pStartT);
	int e(-1);
	LocateResult r(locateConflictTriangle(v, pT, e));
	if(isBeyondHull(r)) return insertVertexCH(v, pT, r);
	if(r == LOC_ON_CORNER)
	{
		for(int i = 0; i < 3; ++i)
		{
			if(*pT->getCorner(i) == *v)
			{
				vertexVault.registerDup(v, pT->getCorner(i));
				break;
			}
		}
		return pT;
	}
	if(e == -1)
	{
		split13(v, pT);
		return legalize();
	}
	// A vertex exactly on a constraint edge splits the constraint with it.
	ConstraintSegment2* pSplitCSeg(getConstraintOnEdge(pT, e));
	initVCheckT24(v, pT, e);
	if(pSplitCSeg != nullptr) pSplitCSeg->split_combinatorialOnly(v);
	return legalize();
}

LocateResult Dt2::locateConflictTriangle(const Point2* v, Triangle2*& t, int& e)
{
	MIREL_ASSERT_PINNED(t!=0, "Dt2.cpp", 1229);
	NoWalkGuard noGuard;
	return MeshSurgery::walkToPoint(geomTest, v, t, e, noGuard);
}

void Dt2::split13(Point2* v, Triangle2* t)
{
	Triangle2* pA(newTriangle());
	Triangle2* pB(newTriangle());
	MeshSurgery::split13(v, t, pA, pB, insertionWork.vFlipStack);
}

void Dt2::initVCheckT24(Point2* v, Triangle2* t, int e)
{
	Triangle2* pNew1(newTriangle());
	Triangle2* pNew2(newTriangle());
	MeshSurgery::split24(v, t, e, pNew1, pNew2, insertionWork.vFlipStack);
}

// Walks along the hull from edge ith of pT, rotating through the fan around
// the edge's source (backwards) or its target (forwards), and appends the hull
// edges that v lies strictly right of; a collinear edge is not visible.
void Dt2::collectVisibleHullEdges(const Point2* v, Triangle2* pT, int ith, bool bForward, std::vector<std::pair<Triangle2*, int>>& vEdges)
{
	auto turn = [bForward](int i) { return bForward ? prevIndex(i) : nextIndex(i); };
	Point2* pPivot(pT->getCorner(turn(ith)));
	Triangle2* pX(pT);
	for(;;)
	{
		MeshSurgery::rotateToFanEnd(pPivot, pX, bForward);
		int k(turn(pX->getIntraTriangleIndex(pPivot)));
		if(geomTest.getOrientation2(pX, k, v) != ORIENTATION2_CW) return;
		vEdges.push_back(std::make_pair(pX, k));
		pPivot = pX->getCorner(turn(k));
	}
}

// v lies beyond hull edge ith of pT. The hull edges visible from v (v strictly
// to their right) form one chain around edge ith; each gets a triangle
// (v, edge target, edge source) whose edge 0 is the old hull edge.
Triangle2* Dt2::insertVertexCH(Point2* v, Triangle2* pT, int ith)
{
	insertionWork.vVisibleHullEdgesBack.clear();

	// Backwards from the source of edge ith, then forwards from its target; the
	// backward chain is reversed so that the edges come in hull order.
	collectVisibleHullEdges(v, pT, ith, false, insertionWork.vVisibleHullEdgesBack);
	insertionWork.vVisibleHullEdges.assign(insertionWork.vVisibleHullEdgesBack.rbegin(), insertionWork.vVisibleHullEdgesBack.rend());
	insertionWork.vVisibleHullEdges.push_back(std::make_pair(pT, ith));
	collectVisibleHullEdges(v, pT, ith, true, insertionWork.vVisibleHullEdges);

	// A point on the hull edge itself sees it only degenerately: the triangle on
	// that edge is flat and must give way to a flip at once.
	bool bOnStartEdge(geomTest.getOrientation2(pT, ith, v) != ORIENTATION2_CW);
	Triangle2* pPrevT(nullptr);
	Triangle2* pStartEdgeT(nullptr);
	for(const std::pair<Triangle2*, int>& edge : insertionWork.vVisibleHullEdges)
	{
		Triangle2* pInner(edge.first);
		int k(edge.second);
		Triangle2* pNewT(newTriangle());
		pNewT->setProperties(v, pInner->getCorner(prevIndex(k)), pInner->getCorner(nextIndex(k)));
		pNewT->setOppTriangle(0, pInner);
		pInner->setOppTriangle(k, pNewT);
		if(pPrevT != nullptr)
		{
			pPrevT->setOppTriangle(2, pNewT);
			pNewT->setOppTriangle(1, pPrevT);
		}
		if(pInner == pT && k == ith) pStartEdgeT = pNewT;
		insertionWork.vFlipStack.push_back(pNewT);
		pPrevT = pNewT;
	}
	if(bOnStartEdge)
	{
		// Even a constraint edge gives way here; the constraint is split at v.
		ConstraintSegment2* pSplitCSeg(getConstraintOnEdge(pStartEdgeT, 0));
		Triangle2* pInner(pStartEdgeT->getOppositeTriangle(0));
		MeshSurgery::flip(pStartEdgeT, 0);
		insertionWork.vFlipStack.push_back(pInner);
		if(pSplitCSeg != nullptr) pSplitCSeg->split_combinatorialOnly(v);
	}
	return legalize();
}

// ======================================================================
// Legalisation
// ======================================================================

// The sequential insertion's legalisation: constraint edges stay (none
// exists while the flag is unset), nothing is ever undone.
struct Dt2::InsertionFlipPolicy
{
	Dt2& dt;
	bool isIllegal(const Point2* v, const Triangle2* b) { return MeshSurgery::isInCircleForFlip(dt.geomTest, dt.bFastMode, v, b); }
	MeshSurgery::FlipVerdict decide(Triangle2* a, Triangle2* /*b*/)
	{
		return (dt.bConstraintsExist && dt.isFlipLocked(a, 0)) ? MeshSurgery::FLIP_KEEP : MeshSurgery::FLIP_DO;
	}
	void flipped(Triangle2* /*a*/) {}
};

Triangle2* Dt2::legalize()
{
	InsertionFlipPolicy policy{*this};
	return MeshSurgery::legalize(insertionWork.vFlipStack, policy);
}

// ======================================================================
// Queries
// ======================================================================

Triangle2* Dt2::locate(const Point2& p)
{
	if(!vertexVault.isFullDimensional()) return nullptr;
	// A far query point needs the exact stages' range widened first.
	if(p.getMaxAbs() > geomTest.getMaxCoord()) geomTest.setStaticBound_MT(p.getMaxAbs());
	Triangle2* pT(vertexVault.getCloseTriangle(hilbertGrid.getKey(p.x(), p.y())));
	MIREL_ASSERT(pT!=0);
	int e(-1);
	LocateResult r(locateConflictTriangle(&p, pT, e));
	if(!isBeyondHull(r)) return pT;
	// The walk ends beyond hull edge r: on that edge p still belongs to pT.
	if(geomTest.getOrientation2(pT, r, &p) == ORIENTATION2_CW) return nullptr;
	return pT;
}

Triangle2* Dt2::getAdjacentTriangle(Point2* p0, Point2* p1) const
{
	MIREL_ASSERT(p0!=0);
	MIREL_ASSERT(p1!=0);
	MIREL_ASSERT(p0!=p1);
	if(p0->getIncidentTriangle() == nullptr) return nullptr;
	return MeshSurgery::findInFan(p0, p0->getIncidentTriangle(),
								  [p0, p1](const Triangle2* pT) { return pT->getCorner(nextIndex(pT->getIntraTriangleIndex(p0))) == p1; });
}

void Dt2::getIncidentTriangles(Point2* v, std::vector<Triangle2*>& vIncidentT) const
{
	MIREL_ASSERT(v!=0);
	Triangle2* pStartT(v->getIncidentTriangle());
	MIREL_ASSERT(pStartT!=0);
	TriangleAroundVertexIterator it(v, pStartT);
	do
	{
		if(*it != nullptr) vIncidentT.push_back(*it);
		++it;
	} while(*it != pStartT);
}

// The corner following v in each triangle; at the border the fan is open and
// the corner preceding v in its counterclockwise-most triangle is added too.
void Dt2::getIncidentVertices(Point2* v, std::vector<Point2*>& vIncidentVtx) const
{
	MIREL_ASSERT(v!=0);
	Triangle2* pStartT(v->getIncidentTriangle());
	MIREL_ASSERT(pStartT!=0);
	TriangleAroundVertexIterator it(v, pStartT);
	Triangle2* pPrevT(nullptr);
	do
	{
		Triangle2* pT(*it);
		if(pT != nullptr) vIncidentVtx.push_back(pT->getCorner(nextIndex(pT->getIntraTriangleIndex(v))));
		else vIncidentVtx.push_back(pPrevT->getCorner(prevIndex(pPrevT->getIntraTriangleIndex(v))));
		pPrevT = pT;
		++it;
	} while(*it != pStartT);
	// The fan ended just before the start: its last corner is still missing.
	if(pPrevT != nullptr && pPrevT->getOppositeTriangle(nextIndex(pPrevT->getIntraTriangleIndex(v))) == nullptr)
	{
		vIncidentVtx.push_back(pPrevT->getCorner(prevIndex(pPrevT->getIntraTriangleIndex(v))));
	}
}

void Dt2::getConvexHull(bool bAllVertices, std::vector<Point2*>& vHullVtx)
{
	if(!vertexVault.isFullDimensional())
	{
		sendWarning("Dt2::getConvexHull()", "the triangulation has no area yet");
		return;
	}
	// The lexicographically smallest vertex is a strict corner of the hull.
	Point2* pStartVtx(nullptr);
	for(size_t i = 0; i < vertexVault.size(); ++i)
	{
		const IdxVtxAct* pRec(vertexVault.getRecord(i));
		if(pRec->active && (pStartVtx == nullptr || *pRec->pVtx < *pStartVtx)) pStartVtx = pRec->pVtx;
	}
	MIREL_ASSERT(pStartVtx!=0);

	// The hull edge leaving a hull vertex: rotate clockwise to the end of its fan.
	auto hullEdgeFrom = [](Point2* pVtx, Triangle2*& pT) {
		pT = pVtx->getIncidentTriangle();
		MeshSurgery::rotateToFanEnd(pVtx, pT, true);
		return prevIndex(pT->getIntraTriangleIndex(pVtx)); // from pVtx to the corner after it
	};
	std::vector<Point2*> vConvexHullPoints;
	Point2* pVtx(pStartVtx);
	do
	{
		vConvexHullPoints.push_back(pVtx);
		Triangle2* pT(nullptr);
		int k(hullEdgeFrom(pVtx, pT));
		pVtx = pT->getCorner(prevIndex(k));
		MIREL_ASSERT(vConvexHullPoints.size()<=vertexVault.numberOfPoints());
	} while(pVtx != pStartVtx);
	vConvexHullPoints.push_back(pStartVtx); // closed
	MIREL_ASSERT(!vConvexHullPoints.empty());

	if(bAllVertices)
	{
		vHullVtx.insert(vHullVtx.end(), vConvexHullPoints.begin(), vConvexHullPoints.end() - 1);
		return;
	}
	std::vector<Point2*> vSimplified;
	vSimplified.push_back(vConvexHullPoints[0]);
	for(size_t i = 1; i + 1 < vConvexHullPoints.size(); ++i)
	{
		if(geomTest.getOrientation2(vSimplified.back(), vConvexHullPoints[i], vConvexHullPoints[i + 1]) != ORIENTATION2_COLLINEAR)
		{
			vSimplified.push_back(vConvexHullPoints[i]);
		}
	}
	vSimplified.push_back(vConvexHullPoints.back());
	MIREL_ASSERT(vSimplified[0]==vSimplified.back());
	vHullVtx.insert(vHullVtx.end(), vSimplified.begin(), vSimplified.end() - 1);
}

// Live triangles are those with a corner; released ones are cleared.
void Dt2::getTrianglePointers(std::vector<Triangle2*>& vAllTriangles) const
{
	vAllTriangles.reserve(vAllTriangles.size() + numberOfTriangles());
	for(size_t b = 0; b < trianglePool.numBlocks(); ++b)
	{
		size_t numUsed(0);
		Triangle2* pBlock(trianglePool.getBlock(b, numUsed));
		for(size_t i = 0; i < numUsed; ++i)
		{
			if(pBlock[i].isAlive()) vAllTriangles.push_back(pBlock + i);
		}
	}
}

void Dt2::getVertexPointers(std::vector<Point2*>& vAllVertices) const
{
	vertexVault.getActiveVertices(vAllVertices);
}

/*
 * The validity check is a ladder; each rung trusts what the ones before it
 * established and reports every fault it finds itself:
 * 1. combinatorics: three different corners, neighbours that point back
 *    across the same edge;
 * 2. geometry: every triangle counterclockwise;
 * 3. empty circles (on request) across every consistent edge, constraint
 *    edges excepted: flips never cross them;
 * 4. agreement with the vault: the mesh's corners are its active vertices,
 *    each with a live incident triangle that holds it.
 */
bool Dt2::checkValidity(bool bCheckEmptyCircles, const char* checkName)
{
	if(!vertexVault.isFullDimensional())
	{
		sendWarning("Dt2::checkValidity()", "not fulldimensional yet (empty or all points collinear), Returning true");
		return true;
	}
	std::vector<Triangle2*> vT;
	getTrianglePointers(vT);
	// Edges (triangle, index) whose neighbour link is consistent; the corners of
	// the triangles with three different corners.
	std::vector<std::pair<Triangle2*, int>> vLinkedEdges;
	std::set<Point2*> sCorners;
	bool bValid(checkCombinatorics(vT, vLinkedEdges, sCorners));
	bValid = checkOrientations(vT) && bValid;
	if(bCheckEmptyCircles) bValid = checkEmptyCircles(vLinkedEdges) && bValid;
	std::vector<Point2*> vVertices;
	vertexVault.getActiveVertices(vVertices);
	bValid = checkVaultAgreement(vVertices, sCorners) && bValid;
	if(!bValid)
	{
		std::string safeName(checkName == nullptr ? "" : checkName);
		Visualizer2 vis(("checkValidityFail_" + safeName + ".ps").c_str());
		vis.addObject(vT, Color(CBLACK));
		vis.addObject(vVertices, Color(CRED));
		vis.writeFile();
		sendRawText("\ncheckValidity, bug, name=" + safeName + "\n");
	}
	return bValid;
}

namespace {
const char* const VALIDITY_PLACE("Dt2::checkValidity()");

void reportInvalid(const char* what, const Triangle2& t, const Triangle2* pOther)
{
	std::ostringstream oss;
	oss << what << t;
	if(pOther != nullptr) oss << "\n" << *pOther;
	sendError(VALIDITY_PLACE, oss.str());
}

bool hasThreeCorners(const Triangle2* pT)
{
	Point2* c0(pT->getCorner(0));
	Point2* c1(pT->getCorner(1));
	Point2* c2(pT->getCorner(2));
	return c0 != nullptr && c1 != nullptr && c2 != nullptr && c0 != c1 && c1 != c2 && c2 != c0;
}
} // namespace

bool Dt2::checkCombinatorics(const std::vector<Triangle2*>& vT, std::vector<std::pair<Triangle2*, int>>& vLinkedEdges, std::set<Point2*>& sCorners) const
{
	bool bValid(true);
	for(Triangle2* pT : vT)
	{
		if(!hasThreeCorners(pT))
		{
			reportInvalid("Less than three different corners: ", *pT, nullptr);
			bValid = false;
			continue;
		}
		for(int i = 0; i < 3; ++i) sCorners.insert(pT->getCorner(i));
		for(int i = 0; i < 3; ++i)
		{
			Triangle2* pNeigT(pT->getOppositeTriangle(i));
			if(pNeigT == nullptr) continue;
			bool bPointsBack(pNeigT->isAlive() &&
							 (pNeigT->getOppositeTriangle(0) == pT || pNeigT->getOppositeTriangle(1) == pT || pNeigT->getOppositeTriangle(2) == pT));
			if(!bPointsBack)
			{
				reportInvalid("Inconsistent neighborships: ", *pT, pNeigT);
				bValid = false;
				continue;
			}
			int j(pNeigT->getIntraTriangleIndex(pT));
			if(pNeigT->getCorner(nextIndex(j)) != pT->getCorner(prevIndex(i)) || pNeigT->getCorner(prevIndex(j)) != pT->getCorner(nextIndex(i)))
			{
				reportInvalid("Neighbor found but inconsistent intra triangle indices: ", *pT, pNeigT);
				bValid = false;
				continue;
			}
			vLinkedEdges.emplace_back(pT, i);
		}
	}
	return bValid;
}

bool Dt2::checkOrientations(const std::vector<Triangle2*>& vT)
{
	bool bValid(true);
	for(Triangle2* pT : vT)
	{
		if(!hasThreeCorners(pT)) continue;
		if(geomTest.getOrientation2(pT->getCorner(0), pT->getCorner(1), pT->getCorner(2)) == ORIENTATION2_CCW) continue;
		reportInvalid("Triangle not counterclockwise: ", *pT, nullptr);
		bValid = false;
	}
	return bValid;
}

bool Dt2::checkEmptyCircles(const std::vector<std::pair<Triangle2*, int>>& vLinkedEdges)
{
	bool bValid(true);
	for(const std::pair<Triangle2*, int>& edge : vLinkedEdges)
	{
		Triangle2* pT(edge.first);
		int i(edge.second);
		Triangle2* pNeigT(pT->getOppositeTriangle(i));
		Point2* pFar(pNeigT->getCorner(pNeigT->getIntraTriangleIndex(pT)));
		if(geomTest.circleInc3state(pT, pFar) != CINC2_INCIRCLE || (bConstraintsExist && isConstraint(pT, i))) continue;
		reportInvalid("Sphere inclusion test failed: ", *pT, pNeigT);
		bValid = false;
		Visualizer2 vis("badEmptyCircle.ps");
		vis.addObject(*pT, Color(CBLACK));
		vis.addObject(*pNeigT, Color(CGREEN));
		Point2 centre(pT->getDual().first);
		vis.addObject(Circle2(centre, sqDistance2D(centre, *pT->getCorner(0))), Color(CBLUE));
		vis.addObject(*pFar, Color(CRED));
		vis.writeFile();
	}
	return bValid;
}

bool Dt2::checkVaultAgreement(const std::vector<Point2*>& vVertices, const std::set<Point2*>& sCorners) const
{
	bool bValid(true);
	size_t numContained(0), numMissing(0);
	for(Point2* pVtx : vVertices)
	{
		if(sCorners.count(pVtx) != 0) ++numContained;
		else ++numMissing;
		Triangle2* pIncT(pVtx->getIncidentTriangle());
		if(pIncT == nullptr || !pIncT->isAlive() || !pIncT->hasVertex(pVtx))
		{
			std::ostringstream oss;
			oss << "Vertex without a valid incident triangle: " << *pVtx;
			sendError(VALIDITY_PLACE, oss.str());
			bValid = false;
		}
	}
	size_t numNotContained(sCorners.size() - numContained);
	if(numNotContained != 0 || numMissing != 0)
	{
		std::ostringstream oss;
		oss << "Not contained:" << numNotContained << ", contained:" << numContained << ", missing:" << numMissing;
		sendError(VALIDITY_PLACE, oss.str());
		bValid = false;
	}
	return bValid;
}

void Dt2::statistics(const char* statName) const
{
	std::vector<Triangle2*> vT;
	getTrianglePointers(vT);
	const int numBins(18);
	size_t aBins[numBins] = {};
	for(const Triangle2* pT : vT)
	{
		for(int i = 0; i < 3; ++i)
		{
			double angle(pT->getInteriorAngle2D(i));
			int bin(angle > 0.0 ? int(std::ceil(angle / 10.0)) - 1 : 0);
			aBins[bin < 0 ? 0 : (bin >= numBins ? numBins - 1 : bin)] += 1;
		}
	}
	std::ostringstream oss;
	oss << "\n\n\n********* MESH STATISTICS (" << (statName == nullptr ? "" : statName) << ") **********\n\n";
	oss << "INTERIOR ANGLES\n";
	double numAngles(3.0 * double(vT.size()));
	for(int b = 0; b < numBins; ++b)
	{
		double pct(numAngles > 0.0 ? 100.0 * double(aBins[b]) / numAngles : 0.0);
		oss << "  " << std::setw(3) << 10 * b << " - " << std::setw(3) << 10 * (b + 1) << " deg: " << std::setw(10) << aBins[b] << "  (" << std::fixed
			<< std::setprecision(2) << std::setw(6) << pct << " %)\n";
		oss.unsetf(std::ios::fixed);
	}
	oss << "\nNumber of triangles: " << vT.size() << "\n";
	sendRawText(oss.str());
}

// ======================================================================
// Export and drawing
// ======================================================================

void Dt2::exportTriangulationArray(MirelExport& mirelExport, bool bWithCustomIndices, bool bClearAfterExport)
{
	MIREL_ASSERT(mirelExport.aTriangles==0);
	MIREL_ASSERT(mirelExport.aCoords==0);
	MIREL_ASSERT(mirelExport.aCustomIndices==0);
	if(bWithCustomIndices) vertexVault.export_fetchCustomIndices(mirelExport);
	VertexNumbering numbering(vertexPool);
	fillExportVertices(vertexVault, numbering, mirelExport);
	// Vertices first: their memory goes before the triangle array is allocated.
	if(bClearAfterExport)
	{
		vertexVault.clear();
		vertexPool.clear();
	}
	fillExportTriangles(trianglePool, numberOfTriangles(), numbering, bClearAfterExport, mirelExport);
	if(bClearAfterExport)
	{
		trianglePool.clear();
		numAllT = 0;
		numDeadT = 0;
	}
}

void Dt2::show(Visualizer2* pVis, bool bWithConstraints)
{
	if(!vertexVault.isFullDimensional())
	{
		sendWarning("Dt2::show()", "The triangulation has no area yet, no visualization");
		return;
	}
	std::vector<Triangle2*> vT;
	getTrianglePointers(vT);
	pVis->addObject(vT, Color(CBLACK, 0.001f, false));
	if(!bWithConstraints) return;
	// The alive constraint pieces, drawn over the triangles.
	std::vector<ConstraintSegment2*> vPieces;
	getAliveConstraintSegments(vPieces);
	for(ConstraintSegment2* pCSeg : vPieces) pVis->addObject(Segment2(*pCSeg->getSrc(), *pCSeg->getTrg()), Color(CRED, 0.002f, false));
}

void Dt2::show(const char* filename, bool bWithConstraints)
{
	if(!vertexVault.isFullDimensional())
	{
		sendWarning("Dt2::show()", "The triangulation has no area yet, no visualization");
		return;
	}
	Visualizer2 vis(filename);
	show(&vis, bWithConstraints);
	vis.writeFile();
}

// ======================================================================
// Zones
// ======================================================================

void Dt2::getTriangleBlocks(std::vector<std::pair<Triangle2*, size_t>>& vBlocks) const
{
	for(size_t b = 0; b < trianglePool.numBlocks(); ++b)
	{
		size_t numUsed(0);
		Triangle2* pBlock(trianglePool.getBlock(b, numUsed));
		vBlocks.push_back(std::make_pair(pBlock, numUsed));
	}
}

bool Dt2::checkZoneArea()
{
	if(hasArea()) return true;
	sendWarning("Dt2::createZone", "The triangulation has no area yet. Returning NULL");
	return false;
}

Zone2* Dt2::addZone(Zone2* pZone)
{
	vZones.push_back(pZone);
	return pZone;
}

namespace {
const char* const NO_GRAPH_TEXT("pConstraintGraph==NULL, but zoneLoc!=ZL_GLOBAL or ZL_RESULT. Returning NULL");
const char* const NOT_ORIENTED_TEXT("The constraint graph is not oriented, returning NULL");
const char* const INSIDE_OUTSIDE_TEXT("This overloaded version of createZone accepts only ZL_INSIDE and ZL_OUTSIDE as zoneLocation. Returning NULL");

bool isResultOrGlobal(ZoneLocation zoneLoc)
{
	return zoneLoc == ZL_GLOBAL || zoneLoc == ZL_UNION_RESULT || zoneLoc == ZL_INTERSECTION_RESULT || zoneLoc == ZL_DIFFERENCE_RESULT ||
		   zoneLoc == ZL_SYMDIFF_RESULT;
}

// The warning for the first of the faults, in the order the callers know.
bool acceptZoneArguments(unsigned faults)
{
	if(faults & (Zone2::AF_EMPTY | Zone2::AF_NULL_GRAPH)) sendWarning("Dt::createZone()", NO_GRAPH_TEXT);
	else if(faults & Zone2::AF_LOCATION) sendWarning("Dt2::createZone()", INSIDE_OUTSIDE_TEXT);
	else if(faults & Zone2::AF_NOT_ORIENTED) sendWarning("Dt2::createZone()", NOT_ORIENTED_TEXT);
	return faults == 0;
}
} // namespace

Zone2* Dt2::createZone(ConstraintGraph2* pConstraintGraph, ZoneLocation zoneLoc, bool /*bVerbose*/)
{
	if(!checkZoneArea()) return nullptr;
	if(isResultOrGlobal(zoneLoc)) return addZone(new Zone2(this, zoneLoc));
	if(!acceptZoneArguments(Zone2::argumentFaults(std::vector<ConstraintGraph2*>(1, pConstraintGraph), zoneLoc, Zone2::ZK_ONE_GRAPH))) return nullptr;
	return addZone(new Zone2(this, pConstraintGraph, zoneLoc));
}

Zone2* Dt2::createZone(const std::vector<ConstraintGraph2*>& vConstraintGraphs, ZoneLocation zoneLoc, bool /*bVerbose*/)
{
	if(!checkZoneArea()) return nullptr;
	if(!acceptZoneArguments(Zone2::argumentFaults(vConstraintGraphs, zoneLoc, Zone2::ZK_GRAPHS))) return nullptr;
	return addZone(new Zone2(this, vConstraintGraphs, zoneLoc));
}

Zone2* Dt2::createZone(ConstraintGraph2* pConstraintGraph, ZoneLocation zoneLoc, const Point2& startPoint, bool bVerbose)
{
	return createZone(std::vector<ConstraintGraph2*>(1, pConstraintGraph), zoneLoc, startPoint, bVerbose);
}

Zone2* Dt2::createZone(const std::vector<ConstraintGraph2*>& vConstraintGraphs, ZoneLocation zoneLoc, const Point2& startPoint, bool /*bVerbose*/)
{
	if(!checkZoneArea()) return nullptr;
	unsigned faults(Zone2::argumentFaults(vConstraintGraphs, zoneLoc, Zone2::ZK_GROW));
	if(faults & Zone2::AF_LOCATION)
	{
		sendWarning("Dt2::createZone()", "This overloaded version of createZone accepts only ZL_GROW as zoneLocation. Returning NULL");
		return nullptr;
	}
	if(!acceptZoneArguments(faults)) return nullptr;
	return addZone(new Zone2(this, vConstraintGraphs, std::vector<Point2>(1, startPoint)));
}

Zone2* Dt2::createZone(std::vector<Triangle2*>& vTriangles, bool /*bVerbose*/)
{
	const char* place("Dt2::createZone()");
	if(!checkZoneArea()) return nullptr;
	std::vector<Triangle2*> vT;
	vT.reserve(vTriangles.size());
	for(Triangle2* pT : vTriangles)
	{
		if(pT != nullptr && pT->isAlive())
		{
			vT.push_back(pT);
			continue;
		}
		std::ostringstream oss;
		oss << "Unable to handle the triangle " << static_cast<const void*>(pT) << " (null or no longer part of the triangulation), skipping it";
		sendWarning(place, oss.str());
	}
	std::sort(vT.begin(), vT.end());
	vT.erase(std::unique(vT.begin(), vT.end()), vT.end());
	std::vector<ConnectedComponent> vComponents;
	ConnectedComponent::split(vT, vComponents);

	// Everything is read from the mesh before the first graph is inserted:
	// establishing constraints may change triangles elsewhere.
	std::vector<std::vector<Segment2>> vvBorders;
	std::vector<Point2> vStartPoints;
	for(const ConnectedComponent& component : vComponents)
	{
		Point2 startPoint;
		if(!component.findStartPoint(geomTest, startPoint))
		{
			std::ostringstream oss;
			oss << "A connected component of the zone is almost degenerate: " << component.getTriangles().size() << " triangle(s), none of them holds its rounded barycentre";
			sendWarning(place, oss.str());
			sendWarning(place, "An almost degenerate part of the zone has no start point for zone growing!");
			continue;
		}
		vStartPoints.push_back(startPoint);
		vvBorders.push_back(std::vector<Segment2>());
		component.getBorderSegments(vvBorders.back());
	}
	if(vStartPoints.empty()) return nullptr;
	// The borders are edges already, so constrained insertion only marks them.
	std::vector<ConstraintGraph2*> vGraphs;
	for(std::vector<Segment2>& vBorder : vvBorders)
	{
		ConstraintGraph2* pGraph(createConstraint(vBorder, CIS_CONSTRAINED_DELAUNAY, false));
		if(pGraph != nullptr) vGraphs.push_back(pGraph);
	}
	return addZone(new Zone2(this, vGraphs, vStartPoints));
}

Zone2* Dt2::createZone_cookieCutter(std::vector<Segment2>& vSegments, bool bVerbose)
{
	if(!checkZoneArea()) return nullptr;
	ConstraintGraph2* pGraph(createConstraint(vSegments, CIS_CONSTRAINED_DELAUNAY, false));
	if(pGraph == nullptr) return nullptr;
	if(!pGraph->isPolygon())
	{
		sendWarning("Dt2::createZone_cookieCutter()", "The segments do not form one closed polygon, returning NULL");
		return nullptr;
	}
	return createZone(pGraph, ZL_INSIDE, bVerbose);
}

void Dt2::deleteZone(Zone2* pZone)
{
	auto it(std::find(vZones.begin(), vZones.end(), pZone));
	if(pZone == nullptr || it == vZones.end())
	{
		sendWarning("Dt2::deleteZone()", "The zone does not belong to this triangulation, nothing deleted");
		return;
	}
	vZones.erase(it);
	delete pZone;
}

} // namespace MIREL25D
