#include "Dt2.h"
#include "MeshSurgery.h"
#include "InserterMT.h"
#include "MirelExport.h"
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
	vFlipStack.reserve(64);
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
	if(vPoints.empty()) return;
	progress.start("insert", 1.1 * double(vPoints.size()));
	growBox([&]() {
		bool bChanged(false);
		for(const Point2& p : vPoints) bChanged = bbx.add(p) || bChanged;
		return bChanged;
	});
	insertBatch(
		vPoints.size(), [&vPoints](size_t i, double& x, double& y) { vPoints[i].xy(x, y); }, [&vPoints](size_t i, Point2* pVtx) { pVtx->set(vPoints[i]); },
		&vHandles[0]);
}

void Dt2::insertVector(const std::vector<Point2>& vPoints)
{
	MIREL_ASSERT(vertexVault.dupIsClean());
	if(vPoints.empty()) return;
	progress.start("insert", 1.1 * double(vPoints.size()));
	growBox([&]() {
		bool bChanged(false);
		for(const Point2& p : vPoints) bChanged = bbx.add(p) || bChanged;
		return bChanged;
	});
	insertBatch(
		vPoints.size(), [&vPoints](size_t i, double& x, double& y) { vPoints[i].xy(x, y); }, [&vPoints](size_t i, Point2* pVtx) { pVtx->set(vPoints[i]); },
		nullptr);
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
	std::vector<std::array<double, 4>> vBounds(numTasks, std::array<double, 4>{{1.7976931348623157e308, 1.7976931348623157e308, -1.7976931348623157e308, -1.7976931348623157e308}});
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
	IdxVtxAct** aRecords(vertexVault.appendRecords(n));
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
			IdxVtxAct* pRec(aRecords[k]);
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
		IdxVtxAct** first(vertexVault.getRecords() + vertexVault.getNumSorted());
		IdxVtxAct** last(vertexVault.getRecords() + vertexVault.size());
		Triangle2* pStartT(vertexVault.getCloseTriangle((*first)->key));
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

// Middle-first recursion over a key-sorted range: the middle vertex first, then
// the left half from the triangle it returned, then the right half from the
// middle vertex's triangle. Successive insertions stay close, so walks are short.
// The middle is moved back to the start of its run of equal keys: points at the
// same place share their key, so the first of them in input order is always
// inserted first and stays while the later ones become its duplicates.
void Dt2::triangulateRec(IdxVtxAct** first, IdxVtxAct** last, Triangle2* pStartT)
{
	while(last - first >= 16)
	{
		IdxVtxAct** mid(first + (last - first) / 2);
		uint32_t midKey((*mid)->key);
		while(mid > first && (*(mid - 1))->key == midKey) --mid;
		if(mid == first)
		{
			// The whole left half shares one key: take its run in order.
			IdxVtxAct** runEnd(first + (last - first) / 2 + 1);
			while(runEnd < last && (*runEnd)->key == midKey) ++runEnd;
			pStartT = insertSequentially(first, runEnd, pStartT);
			first = runEnd;
			continue;
		}
		Triangle2* pLeftStartT(insertRecord(*mid, pStartT));
		triangulateRec(first, mid, pLeftStartT);
		// A duplicate or inactive middle has no triangle of its own; the triangle
		// where it was handled is still alive (insertion releases none) and near.
		pStartT = (*mid)->active ? (*mid)->pVtx->getIncidentTriangle() : nullptr;
		if(pStartT == nullptr) pStartT = pLeftStartT;
		MIREL_ASSERT(pStartT!=0);
		first = mid + 1;
	}
	insertSequentially(first, last, pStartT);
}

Triangle2* Dt2::insertSequentially(IdxVtxAct** first, IdxVtxAct** last, Triangle2* pStartT)
{
	for(; first != last; ++first) pStartT = insertRecord(*first, pStartT);
	return pStartT;
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

	IdxVtxAct** records(vertexVault.getRecords());
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
	MIREL_ASSERT(t!=0);
	NoWalkGuard noGuard;
	return MeshSurgery::walkToPoint(geomTest, v, t, e, noGuard);
}

void Dt2::split13(Point2* v, Triangle2* t)
{
	Triangle2* pA(newTriangle());
	Triangle2* pB(newTriangle());
	MeshSurgery::split13(v, t, pA, pB, vFlipStack);
}

void Dt2::initVCheckT24(Point2* v, Triangle2* t, int e)
{
	Triangle2* pNew1(newTriangle());
	Triangle2* pNew2(newTriangle());
	MeshSurgery::split24(v, t, e, pNew1, pNew2, vFlipStack);
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
	vVisibleHullEdgesBack.clear();

	// Backwards from the source of edge ith, then forwards from its target; the
	// backward chain is reversed so that the edges come in hull order.
	collectVisibleHullEdges(v, pT, ith, false, vVisibleHullEdgesBack);
	vVisibleHullEdges.assign(vVisibleHullEdgesBack.rbegin(), vVisibleHullEdgesBack.rend());
	vVisibleHullEdges.push_back(std::make_pair(pT, ith));
	collectVisibleHullEdges(v, pT, ith, true, vVisibleHullEdges);

	// A point on the hull edge itself sees it only degenerately: the triangle on
	// that edge is flat and must give way to a flip at once.
	bool bOnStartEdge(geomTest.getOrientation2(pT, ith, v) != ORIENTATION2_CW);
	Triangle2* pPrevT(nullptr);
	Triangle2* pStartEdgeT(nullptr);
	for(const std::pair<Triangle2*, int>& edge : vVisibleHullEdges)
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
		vFlipStack.push_back(pNewT);
		pPrevT = pNewT;
	}
	if(bOnStartEdge)
	{
		// Even a constraint edge gives way here; the constraint is split at v.
		ConstraintSegment2* pSplitCSeg(getConstraintOnEdge(pStartEdgeT, 0));
		Triangle2* pInner(pStartEdgeT->getOppositeTriangle(0));
		MeshSurgery::flip(pStartEdgeT, 0);
		vFlipStack.push_back(pInner);
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
	return MeshSurgery::legalize(vFlipStack, policy);
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
	TriangleAroundVertexIterator it(p0);
	Triangle2* pStartT(*it);
	do
	{
		Triangle2* pT(*it);
		if(pT != nullptr && pT->getCorner(nextIndex(pT->getIntraTriangleIndex(p0))) == p1) return pT;
		++it;
	} while(*it != pStartT);
	return nullptr;
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

bool Dt2::checkValidity(bool bCheckEmptyCircles, const char* checkName)
{
	const char* place("Dt2::checkValidity()");
	if(!vertexVault.isFullDimensional())
	{
		sendWarning(place, "not fulldimensional yet (empty or all points collinear), Returning true");
		return true;
	}
	bool bValid(true);
	std::vector<Triangle2*> vT;
	getTrianglePointers(vT);
	std::set<Point2*> sCorners;
	for(Triangle2* pT : vT)
	{
		Point2* c0(pT->getCorner(0));
		Point2* c1(pT->getCorner(1));
		Point2* c2(pT->getCorner(2));
		if(c0 == nullptr || c1 == nullptr || c2 == nullptr || c0 == c1 || c1 == c2 || c2 == c0)
		{
			std::ostringstream oss;
			oss << "Less than three different corners: " << *pT;
			sendError(place, oss.str());
			bValid = false;
			continue;
		}
		sCorners.insert(c0);
		sCorners.insert(c1);
		sCorners.insert(c2);
		if(geomTest.getOrientation2(c0, c1, c2) != ORIENTATION2_CCW)
		{
			std::ostringstream oss;
			oss << "Triangle not counterclockwise: " << *pT;
			sendError(place, oss.str());
			bValid = false;
		}
		for(int i = 0; i < 3; ++i)
		{
			Triangle2* pNeigT(pT->getOppositeTriangle(i));
			if(pNeigT == nullptr) continue;
			bool bPointsBack(pNeigT->isAlive() &&
							 (pNeigT->getOppositeTriangle(0) == pT || pNeigT->getOppositeTriangle(1) == pT || pNeigT->getOppositeTriangle(2) == pT));
			if(!bPointsBack)
			{
				std::ostringstream oss;
				oss << "Inconsistent neighborships: " << *pT << "\n" << *pNeigT;
				sendError(place, oss.str());
				bValid = false;
				continue;
			}
			int j(pNeigT->getIntraTriangleIndex(pT));
			if(pNeigT->getCorner(nextIndex(j)) != pT->getCorner(prevIndex(i)) || pNeigT->getCorner(prevIndex(j)) != pT->getCorner(nextIndex(i)))
			{
				std::ostringstream oss;
				oss << "Neighbor found but inconsistent intra triangle indices: " << *pT << "\n" << *pNeigT;
				sendError(place, oss.str());
				bValid = false;
				continue;
			}
			// Constraint edges may fail the test: flips never cross them.
			if(bCheckEmptyCircles && geomTest.circleInc3state(pT, pNeigT->getCorner(j)) == CINC2_INCIRCLE && !(bConstraintsExist && isConstraint(pT, i)))
			{
				std::ostringstream oss;
				oss << "Sphere inclusion test failed: " << *pT << "\n" << *pNeigT;
				sendError(place, oss.str());
				bValid = false;
				Visualizer2 vis("badEmptyCircle.ps");
				vis.addObject(*pT, Color(CBLACK));
				vis.addObject(*pNeigT, Color(CGREEN));
				Point2 centre(pT->getDual().first);
				vis.addObject(Circle2(centre, sqDistance2D(centre, *c0)), Color(CBLUE));
				vis.addObject(*pNeigT->getCorner(j), Color(CRED));
				vis.writeFile();
			}
		}
	}

	// The corners of the mesh and the vault's vertices must be the same set.
	std::vector<Point2*> vVertices;
	vertexVault.getActiveVertices(vVertices);
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
			sendError(place, oss.str());
			bValid = false;
		}
	}
	size_t numNotContained(sCorners.size() - numContained);
	if(numNotContained != 0 || numMissing != 0)
	{
		std::ostringstream oss;
		oss << "Not contained:" << numNotContained << ", contained:" << numContained << ", missing:" << numMissing;
		sendError(place, oss.str());
		bValid = false;
	}
	if(!bValid)
	{
		std::string safeName(checkName == nullptr ? "" : checkName);
		Visualizer2 vis(("checkValidityFail_" + safeName + ".ps").c_str());
		vis.addObject(vT, Color(CBLACK));
		vis.addObject(vVertices, Color(CRED));
		vis.writeFile();
		std::cout << "\ncheckValidity, bug, name=" << safeName << std::endl;
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
	std::cout << oss.str() << std::flush;
}

// ======================================================================
// Removal
// ======================================================================

void Dt2::remove(Point2* pVtx)
{
	const char* place("Dt2::remove(..)");
	if(pVtx == nullptr)
	{
		sendWarning(place, "pVtx==NULL, illegal, return.");
		return;
	}
	size_t idx(0);
	if(!vertexVault.findIdxOfActiveVtx(pVtx, idx))
	{
		sendWarning(place, "vertex does not belong to the triangulation, return");
		return;
	}
	if(bConstraintsExist && isConstraint(pVtx))
	{
		sendWarning(place, "Illegal: Can't remove a constraint vertex");
		return;
	}
	if(vertexVault.isFullDimensional() && pVtx->getIncidentTriangle() != nullptr) removeFromMesh(pVtx);
	vertexVault.deactivate(pVtx);
	if(vertexVault.isFullDimensional() && numberOfTriangles() == 0) dropToLowerDimension();
}

/*
 * The umbrella of v is replaced by a Delaunay triangulation of its link.
 * Interior vertex: the link is a star-shaped polygon, clipped ear by ear.
 * Hull vertex: the link is an open chain p0..pm; the new hull between p0 and
 * pm is the convex chain of the link points, and each pocket between the link
 * and a new hull edge is a simple polygon closed by that edge.
 * Ears whose circumcircle contains no other polygon vertex are Delaunay; if no
 * such ear exists (possible only with cocircular points) any valid ear is
 * taken, and the final Lawson pass over the hole's edges restores the empty
 * circles either way. A step counter guards both loops.
 */
void Dt2::removeFromMesh(Point2* v)
{
	bool bClosed(collectUmbrella(v));
	numUmbrellaT = vUmbrellaT.size();
	numRemovalSteps = 0;
	maxRemovalSteps = 1000 + 10 * numUmbrellaT * numUmbrellaT;
	vHoleT.clear();

	// Until the hole is filled, the link vertices hold on to the outer triangles.
	for(Point2* pLinkVtx : vHoleVtx) pLinkVtx->setIncidentTriangle(nullptr);
	for(const HoleEdge& outer : vHoleEdge)
	{
		if(outer.pOuterT == nullptr) continue;
		outer.pOuterT->getCorner(nextIndex(outer.idx))->setIncidentTriangle(outer.pOuterT);
		outer.pOuterT->getCorner(prevIndex(outer.idx))->setIncidentTriangle(outer.pOuterT);
	}
	v->setIncidentTriangle(nullptr);

	if(bClosed)
	{
		vPolyVtx.assign(vHoleVtx.begin(), vHoleVtx.end());
		vPolyEdge.assign(vHoleEdge.begin(), vHoleEdge.end());
		triangulatePolygon();
	}
	else
	{
		// The link points are sorted by angle around v: a Graham scan gives the
		// new hull chain (collinear points stay on it, they become hull vertices).
		vHullChain.clear();
		for(size_t i = 0; i < vHoleVtx.size(); ++i)
		{
			while(vHullChain.size() >= 2 &&
				  geomTest.getOrientation2(vHoleVtx[vHullChain[vHullChain.size() - 2]], vHoleVtx[vHullChain.back()], vHoleVtx[i]) == ORIENTATION2_CCW)
			{
				vHullChain.pop_back();
			}
			vHullChain.push_back(i);
		}
		for(size_t c = 0; c + 1 < vHullChain.size(); ++c)
		{
			size_t a(vHullChain[c]), b(vHullChain[c + 1]);
			if(b == a + 1)
			{
				// The link edge itself is now a hull edge.
				const HoleEdge& outer(vHoleEdge[a]);
				if(outer.pOuterT != nullptr) outer.pOuterT->setOppTriangle(outer.idx, nullptr);
				continue;
			}
			vPolyVtx.assign(vHoleVtx.begin() + a, vHoleVtx.begin() + b + 1);
			vPolyEdge.assign(vHoleEdge.begin() + a, vHoleEdge.begin() + b);
			vPolyEdge.push_back(HoleEdge{nullptr, -1}); // the new hull edge p_b -> p_a
			triangulatePolygon();
		}
	}
	for(Triangle2* pT : vUmbrellaT) releaseTriangle(pT); // those not reused
	vUmbrellaT.clear();
	legalizeHole();
}

bool Dt2::collectUmbrella(Point2* v)
{
	vUmbrellaT.clear();
	vHoleVtx.clear();
	vHoleEdge.clear();
	// For a hull vertex, start at the clockwise end of the fan.
	Triangle2* pT(v->getIncidentTriangle());
	bool bClosed(!MeshSurgery::rotateToFanEnd(v, pT, true));
	Triangle2* pStartT(pT);
	for(;;)
	{
		int i(pT->getIntraTriangleIndex(v));
		vUmbrellaT.push_back(pT);
		vHoleVtx.push_back(pT->getCorner(nextIndex(i)));
		Triangle2* pOuterT(pT->getOppositeTriangle(i));
		vHoleEdge.push_back(HoleEdge{pOuterT, pOuterT == nullptr ? -1 : pOuterT->getIntraTriangleIndex(pT)});
		Triangle2* pCcwT(MeshSurgery::fanCcw(pT, v));
		if(pCcwT == nullptr)
		{
			vHoleVtx.push_back(pT->getCorner(prevIndex(i)));
			break;
		}
		if(pCcwT == pStartT) break;
		pT = pCcwT;
		MIREL_ASSERT(vUmbrellaT.size()<=2*vertexVault.size());
	}
	return bClosed;
}

void Dt2::triangulatePolygon()
{
	while(vPolyVtx.size() > 3)
	{
		size_t n(vPolyVtx.size());
		size_t j(findEar(true));
		if(j == n) j = findEar(false);
		if(j == n) numRemovalSteps = maxRemovalSteps; // no ear at all: a broken invariant
		countRemovalStep();
		size_t ia(j == 0 ? n - 1 : j - 1), ic(j + 1 == n ? 0 : j + 1);
		Triangle2* pT(makeHoleTriangle(vPolyVtx[ia], vPolyVtx[j], vPolyVtx[ic]));
		linkAcross(pT, 2, vPolyEdge[ia]);
		linkAcross(pT, 0, vPolyEdge[j]);
		vPolyEdge[ia] = HoleEdge{pT, 1}; // the polygon goes on along a -> c
		vPolyVtx.erase(vPolyVtx.begin() + long(j));
		vPolyEdge.erase(vPolyEdge.begin() + long(j));
	}
	if(geomTest.getOrientation2(vPolyVtx[0], vPolyVtx[1], vPolyVtx[2]) != ORIENTATION2_CCW) numRemovalSteps = maxRemovalSteps;
	countRemovalStep();
	Triangle2* pT(makeHoleTriangle(vPolyVtx[0], vPolyVtx[1], vPolyVtx[2]));
	linkAcross(pT, 2, vPolyEdge[0]);
	linkAcross(pT, 0, vPolyEdge[1]);
	linkAcross(pT, 1, vPolyEdge[2]);
}

// An ear (a, b, c) at position j: a strict left turn, and no other polygon
// vertex in its closed triangle (the polygon is simple, so ac is a diagonal).
// A Delaunay ear has no other polygon vertex strictly inside its circumcircle,
// which covers the closed triangle except its corners.
size_t Dt2::findEar(bool bDelaunayEar)
{
	size_t n(vPolyVtx.size());
	for(size_t j = 0; j < n; ++j)
	{
		countRemovalStep();
		size_t ia(j == 0 ? n - 1 : j - 1), ic(j + 1 == n ? 0 : j + 1);
		Point2* a(vPolyVtx[ia]);
		Point2* b(vPolyVtx[j]);
		Point2* c(vPolyVtx[ic]);
		if(geomTest.getOrientation2(a, b, c) != ORIENTATION2_CCW) continue;
		Triangle2 ear(a, b, c);
		bool bEar(true);
		for(size_t k = 0; k < n && bEar; ++k)
		{
			if(k == ia || k == j || k == ic) continue;
			const Point2* w(vPolyVtx[k]);
			if(bDelaunayEar) bEar = geomTest.circleInc3state(&ear, w) != CINC2_INCIRCLE;
			else
			{
				bEar = geomTest.getOrientation2(a, b, w) == ORIENTATION2_CW || geomTest.getOrientation2(b, c, w) == ORIENTATION2_CW ||
					   geomTest.getOrientation2(c, a, w) == ORIENTATION2_CW;
			}
		}
		if(bEar) return j;
	}
	return n;
}

Triangle2* Dt2::makeHoleTriangle(Point2* a, Point2* b, Point2* c)
{
	Triangle2* pT(nullptr);
	if(!vUmbrellaT.empty())
	{
		pT = vUmbrellaT.back();
		vUmbrellaT.pop_back();
	}
	else pT = newTriangle();
	pT->setProperties(a, b, c);
	vHoleT.push_back(pT);
	return pT;
}

void Dt2::linkAcross(Triangle2* pT, int i, const HoleEdge& outer)
{
	pT->setOppTriangle(i, outer.pOuterT);
	if(outer.pOuterT != nullptr) outer.pOuterT->setOppTriangle(outer.idx, pT);
}

void Dt2::legalizeHole()
{
	vHoleFlipStack.clear();
	for(Triangle2* pT : vHoleT)
	{
		for(int i = 0; i < 3; ++i) vHoleFlipStack.push_back(std::make_pair(pT, i));
	}
	while(!vHoleFlipStack.empty())
	{
		Triangle2* a(vHoleFlipStack.back().first);
		int i(vHoleFlipStack.back().second);
		vHoleFlipStack.pop_back();
		Triangle2* b(a->getOppositeTriangle(i));
		if(b == nullptr) continue;
		if(geomTest.circleInc3state(a, b->getCorner(b->getIntraTriangleIndex(a))) != CINC2_INCIRCLE) continue;
		if(bConstraintsExist && isFlipLocked(a, i)) continue; // constraint edges stay
		countRemovalStep();
		MeshSurgery::flip(a, i);
		// The four outer edges of the flipped quadrilateral.
		vHoleFlipStack.push_back(std::make_pair(a, 0));
		vHoleFlipStack.push_back(std::make_pair(a, 2));
		vHoleFlipStack.push_back(std::make_pair(b, 0));
		vHoleFlipStack.push_back(std::make_pair(b, 1));
	}
}

void Dt2::countRemovalStep()
{
	if(++numRemovalSteps <= maxRemovalSteps) return;
	Visualizer2 vis("watchDogFailed.ps");
	vis.addObject(vHoleT, Color(CGREEN));
	vis.addObject(vHoleVtx, Color(CBLACK));
	vis.addObject(vPolyVtx, Color(CRED));
	vis.writeFile();
	std::cout << "vUmbrellaT.size()=" << numUmbrellaT << std::endl;
	MIREL_ASSERT(numRemovalSteps<=maxRemovalSteps);
}

void Dt2::dropToLowerDimension()
{
	std::vector<Point2*> vVertices;
	vertexVault.getActiveVertices(vVertices);
	for(Point2* pVtx : vVertices) pVtx->setIncidentTriangle(nullptr);
	vertexVault.clearFullDimensional();
}

// ======================================================================
// Export and drawing
// ======================================================================

// Export indices of the vertices, looked up by address: the vertices live in
// pool blocks, so a vertex's block and its position there give a slot, and a
// table maps slots to indices. Only addresses are compared, never
// dereferenced, so the vertices may already be released while the triangles
// are numbered.
class VertexNumbering
{
public:
	explicit VertexNumbering(const SimplePool<Point2>& vertexPool) : lastBlock(0)
	{
		size_t firstSlot(0);
		for(size_t b = 0; b < vertexPool.numBlocks(); ++b)
		{
			size_t numUsed(0);
			uintptr_t begin(reinterpret_cast<uintptr_t>(vertexPool.getBlock(b, numUsed)));
			vBlocks.push_back(BlockRange{begin, begin + numUsed * sizeof(Point2), firstSlot});
			firstSlot += numUsed;
		}
		std::sort(vBlocks.begin(), vBlocks.end(), [](const BlockRange& a, const BlockRange& b) { return a.begin < b.begin; });
		vSlotIndex.assign(firstSlot, -1);
	}
	void assign(const Point2* pVtx, int32_t idx) { vSlotIndex[slotOf(pVtx)] = idx; }
	int32_t get(const Point2* pVtx) const { return vSlotIndex[slotOf(pVtx)]; }

private:
	struct BlockRange
	{
		uintptr_t begin, end;
		size_t firstSlot;
	};
	// Corners of neighbouring triangles are mostly in the same block: the last
	// block found is tried first, then a bisection.
	size_t slotOf(const Point2* pVtx) const
	{
		uintptr_t addr(reinterpret_cast<uintptr_t>(pVtx));
		const BlockRange* pRange(&vBlocks[lastBlock]);
		if(addr < pRange->begin || addr >= pRange->end)
		{
			auto it(std::upper_bound(vBlocks.begin(), vBlocks.end(), addr, [](uintptr_t a, const BlockRange& r) { return a < r.begin; }));
			MIREL_ASSERT(it!=vBlocks.begin());
			lastBlock = size_t(it - vBlocks.begin()) - 1;
			pRange = &vBlocks[lastBlock];
			MIREL_ASSERT(addr<pRange->end);
		}
		return pRange->firstSlot + (addr - pRange->begin) / sizeof(Point2);
	}

	std::vector<BlockRange> vBlocks;
	std::vector<int32_t> vSlotIndex;
	mutable size_t lastBlock;
};

void Dt2::exportTriangulationArray(MirelExport& mirelExport, bool bWithCustomIndices, bool bClearAfterExport)
{
	MIREL_ASSERT(mirelExport.aTriangles==0);
	MIREL_ASSERT(mirelExport.aCoords==0);
	MIREL_ASSERT(mirelExport.aCustomIndices==0);
	if(bWithCustomIndices) vertexVault.export_fetchCustomIndices(mirelExport);
	VertexNumbering numbering(vertexPool);
	exportVertices(mirelExport, numbering);
	// Vertices first: their memory goes before the triangle array is allocated.
	if(bClearAfterExport)
	{
		vertexVault.clear();
		vertexPool.clear();
	}
	exportTriangles(mirelExport, numbering, bClearAfterExport);
	if(bClearAfterExport)
	{
		trianglePool.clear();
		numAllT = 0;
		numDeadT = 0;
	}
}

void Dt2::exportVertices(MirelExport& mirelExport, VertexNumbering& numbering)
{
	size_t numVtx(vertexVault.numberOfPoints());
	mirelExport.numPoints = static_cast<int32_t>(numVtx);
	mirelExport.aCoords = numVtx > 0 ? new double[size_t(mirelExport.dim) * numVtx] : nullptr;
	double* pCoord(mirelExport.aCoords);
	int32_t idx(0);
	for(size_t i = 0; i < vertexVault.size(); ++i)
	{
		const IdxVtxAct* pRec(vertexVault.getRecord(i));
		if(!pRec->active) continue;
		const Point2* pVtx(pRec->pVtx);
		numbering.assign(pVtx, idx++);
		*pCoord++ = pVtx->x();
		*pCoord++ = pVtx->y();
		*pCoord++ = pVtx->z();
	}
	MIREL_ASSERT(size_t(idx)==numVtx);
}

void Dt2::exportTriangles(MirelExport& mirelExport, const VertexNumbering& numbering, bool bClearAfterExport)
{
	size_t numT(numberOfTriangles());
	mirelExport.numTriangles = static_cast<int32_t>(numT);
	mirelExport.aTriangles = numT > 0 ? new int32_t[3 * numT] : nullptr;
	int32_t* pOut(mirelExport.aTriangles);
	size_t numWritten(0);
	for(size_t b = 0; b < trianglePool.numBlocks(); ++b)
	{
		size_t numUsed(0);
		const Triangle2* pBlock(trianglePool.getBlock(b, numUsed));
		for(size_t i = 0; i < numUsed; ++i)
		{
			const Triangle2& t(pBlock[i]);
			if(!t.isAlive()) continue;
			MIREL_ASSERT(numWritten<numT);
			for(int c = 0; c < 3; ++c)
			{
				int32_t vtxIdx(numbering.get(t.getCorner(c)));
				MIREL_ASSERT(vtxIdx>=0);
				*pOut++ = vtxIdx;
			}
			++numWritten;
		}
		if(bClearAfterExport) trianglePool.freeBlock(b);
	}
	MIREL_ASSERT(numWritten==numT);
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

Zone2* Dt2::createZone(ConstraintGraph2* pConstraintGraph, ZoneLocation zoneLoc, bool /*bVerbose*/)
{
	if(!checkZoneArea()) return nullptr;
	bool bResultLoc(zoneLoc == ZL_UNION_RESULT || zoneLoc == ZL_INTERSECTION_RESULT || zoneLoc == ZL_DIFFERENCE_RESULT || zoneLoc == ZL_SYMDIFF_RESULT);
	if(zoneLoc == ZL_GLOBAL || bResultLoc) return addZone(new Zone2(this, zoneLoc));
	if(pConstraintGraph == nullptr)
	{
		sendWarning("Dt::createZone()", "pConstraintGraph==NULL, but zoneLoc!=ZL_GLOBAL or ZL_RESULT. Returning NULL");
		return nullptr;
	}
	if(zoneLoc != ZL_INSIDE && zoneLoc != ZL_OUTSIDE && zoneLoc != ZL_BOUNDED)
	{
		sendWarning("Dt2::createZone()", "This overloaded version of createZone accepts only ZL_INSIDE and ZL_OUTSIDE as zoneLocation. Returning NULL");
		return nullptr;
	}
	if(!pConstraintGraph->isOriented())
	{
		sendWarning("Dt2::createZone()", "The constraint graph is not oriented, returning NULL");
		return nullptr;
	}
	return addZone(new Zone2(this, pConstraintGraph, zoneLoc));
}

Zone2* Dt2::createZone(const std::vector<ConstraintGraph2*>& vConstraintGraphs, ZoneLocation zoneLoc, bool /*bVerbose*/)
{
	if(!checkZoneArea()) return nullptr;
	if(vConstraintGraphs.empty() || std::find(vConstraintGraphs.begin(), vConstraintGraphs.end(), nullptr) != vConstraintGraphs.end())
	{
		sendWarning("Dt::createZone()", "pConstraintGraph==NULL, but zoneLoc!=ZL_GLOBAL or ZL_RESULT. Returning NULL");
		return nullptr;
	}
	if(zoneLoc != ZL_INSIDE && zoneLoc != ZL_OUTSIDE)
	{
		sendWarning("Dt2::createZone()", "This overloaded version of createZone accepts only ZL_INSIDE and ZL_OUTSIDE as zoneLocation. Returning NULL");
		return nullptr;
	}
	for(ConstraintGraph2* pGraph : vConstraintGraphs)
	{
		if(!pGraph->isOriented())
		{
			sendWarning("Dt2::createZone()", "The constraint graph is not oriented, returning NULL");
			return nullptr;
		}
	}
	return addZone(new Zone2(this, vConstraintGraphs, zoneLoc));
}

Zone2* Dt2::createZone(ConstraintGraph2* pConstraintGraph, ZoneLocation zoneLoc, const Point2& startPoint, bool bVerbose)
{
	return createZone(std::vector<ConstraintGraph2*>(1, pConstraintGraph), zoneLoc, startPoint, bVerbose);
}

Zone2* Dt2::createZone(const std::vector<ConstraintGraph2*>& vConstraintGraphs, ZoneLocation zoneLoc, const Point2& startPoint, bool /*bVerbose*/)
{
	if(!checkZoneArea()) return nullptr;
	if(zoneLoc != ZL_GROW)
	{
		sendWarning("Dt2::createZone()", "This overloaded version of createZone accepts only ZL_GROW as zoneLocation. Returning NULL");
		return nullptr;
	}
	if(std::find(vConstraintGraphs.begin(), vConstraintGraphs.end(), nullptr) != vConstraintGraphs.end())
	{
		sendWarning("Dt::createZone()", "pConstraintGraph==NULL, but zoneLoc!=ZL_GLOBAL or ZL_RESULT. Returning NULL");
		return nullptr;
	}
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
