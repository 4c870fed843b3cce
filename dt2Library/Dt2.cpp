#include "Dt2.h"
#include "tools.h"
#include <chrono>
#include <cmath>
#include <cstdlib>
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
}

Dt2::~Dt2() {}

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
	if(n <= 0) return;
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
	auto range(mListeners.equal_range(msgType));
	for(auto it = range.first; it != range.second; ++it)
	{
		if(it->second == pListener) return;
	}
	mListeners.insert(std::make_pair(msgType, pListener));
}

void Dt2::unsubscribe(MsgType msgType, MsgBase* pListener)
{
	auto range(mListeners.equal_range(msgType));
	for(auto it = range.first; it != range.second; ++it)
	{
		if(it->second == pListener)
		{
			mListeners.erase(it);
			return;
		}
	}
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
void Dt2::insertBatch(size_t n, XYFunc getXY, FillFunc fillVertex, Point2** handles)
{
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

	if(vertexVault.isFullDimensional())
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
	int r(locateConflictTriangle(v, pT, e));
	if(r >= 0 && r <= 2) return insertVertexCH(v, pT, r);
	if(r == 4)
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
	if(e == -1) split13(v, pT);
	else initVCheckT24(v, pT, e);
	return legalize();
}

int Dt2::locateConflictTriangle(const Point2* v, Triangle2*& t, int& e)
{
	MIREL_ASSERT(t!=0);
	size_t numSteps(0);
	for(;;) // one pass per walk; the hull-line case may start another
	{
		int aOrder[3] = {0, 1, 2};
		int numEdges(3);
		e = -1;
		int hullLineEdge(-1);
		bool bStepped(true);
		while(bStepped)
		{
			bStepped = false;
			for(int k = 0; k < numEdges; ++k)
			{
				int i(aOrder[k]);
				Orientation2 ori(geomTest.getOrientation2(t, i, v));
				if(ori == ORIENTATION2_CCW) continue;
				if(ori == ORIENTATION2_COLLINEAR)
				{
					if(*t->getCorner(0) == *v || *t->getCorner(1) == *v || *t->getCorner(2) == *v) return 4;
					e = i;
					if(t->getOppositeTriangle(i) == nullptr)
					{
						hullLineEdge = i;
						break;
					}
					continue;
				}
				// v is beyond edge i: step across it.
				e = -1;
				Triangle2* pNext(t->getOppositeTriangle(i));
				if(pNext == nullptr) return i;
				int j(pNext->getIntraTriangleIndex(t));
				t = pNext;
				++numSteps;
				if(numSteps > 1000)
				{
					// Degenerate walks can cycle; a random start edge breaks the cycle.
					int s(std::rand() % 3);
					aOrder[0] = s;
					aOrder[1] = nextIndex(s);
					aOrder[2] = prevIndex(s);
					numEdges = 3;
				}
				else
				{
					// Alternate the order of the two remaining edges so the walk cannot circle.
					bool bCrossedFirst(k != 1);
					aOrder[0] = bCrossedFirst ? nextIndex(j) : prevIndex(j);
					aOrder[1] = bCrossedFirst ? prevIndex(j) : nextIndex(j);
					numEdges = 2;
				}
				bStepped = true;
				break;
			}
		}
		if(hullLineEdge < 0) return -1;

		// v lies on the line of hull edge i, not on a corner: it is either on the
		// edge (inserted through it from outside) or beyond one of its ends.
		int i(hullLineEdge);
		int i1(nextIndex(i)), i2(prevIndex(i));
		int crossed(-1);
		if(geomTest.getOrientation2(t, i1, v) == ORIENTATION2_CW) crossed = i1;
		else if(geomTest.getOrientation2(t, i2, v) == ORIENTATION2_CW) crossed = i2;
		if(crossed < 0) return i;
		Triangle2* pNext(t->getOppositeTriangle(crossed));
		if(pNext == nullptr) return crossed;
		t = pNext;
		++numSteps;
	}
}

// t = (c0, c1, c2) becomes (v, c0, c1); two new triangles (v, c1, c2) and
// (v, c2, c0). Each keeps one old outer edge as its edge 0.
void Dt2::split13(Point2* v, Triangle2* t)
{
	Point2* c0(t->getCorner(0));
	Point2* c1(t->getCorner(1));
	Point2* c2(t->getCorner(2));
	Triangle2* t0(t->getOppositeTriangle(0));
	Triangle2* t1(t->getOppositeTriangle(1));
	Triangle2* t2(t->getOppositeTriangle(2));
	Triangle2* pA(newTriangle());
	Triangle2* pB(newTriangle());

	t->setVertexPointer(0, v);
	t->setVertexPointer(1, c0);
	t->setVertexPointer(2, c1);
	t->setOppTriangle(0, t2);
	t->setOppTriangle(1, pA);
	t->setOppTriangle(2, pB);

	pA->setVertexPointer(0, v);
	pA->setVertexPointer(1, c1);
	pA->setVertexPointer(2, c2);
	pA->setOppTriangle(0, t0);
	pA->setOppTriangle(1, pB);
	pA->setOppTriangle(2, t);

	pB->setVertexPointer(0, v);
	pB->setVertexPointer(1, c2);
	pB->setVertexPointer(2, c0);
	pB->setOppTriangle(0, t1);
	pB->setOppTriangle(1, t);
	pB->setOppTriangle(2, pA);

	if(t0 != nullptr) t0->setOppTriangle(t0->getIntraTriangleIndex(t), pA);
	if(t1 != nullptr) t1->setOppTriangle(t1->getIntraTriangleIndex(t), pB);
	v->setIncidentTriangle(t);
	c2->setIncidentTriangle(pA);

	vFlipStack.push_back(t);
	vFlipStack.push_back(pA);
	vFlipStack.push_back(pB);
}

// v in the interior of edge e of t. With u the neighbour across e and d its far
// corner, the ring around v is c(e), c(e+1), d, c(e+2); four triangles
// (v, ring[k], ring[k+1]) each keep an old outer edge as edge 0. t and u are reused.
void Dt2::initVCheckT24(Point2* v, Triangle2* t, int e)
{
	Triangle2* u(t->getOppositeTriangle(e));
	MIREL_ASSERT(u!=0);
	int e1(nextIndex(e)), e2(prevIndex(e));
	Point2* ce(t->getCorner(e));
	Point2* ce1(t->getCorner(e1));
	Point2* ce2(t->getCorner(e2));
	int j(u->getIntraTriangleIndex(t));
	Point2* d(u->getCorner(j));
	Triangle2* pOutT1(t->getOppositeTriangle(e1)); // edge ce2 -> ce
	Triangle2* pOutT2(t->getOppositeTriangle(e2)); // edge ce -> ce1
	Triangle2* pOutU1(u->getOppositeTriangle(nextIndex(j))); // edge ce1 -> d
	Triangle2* pOutU2(u->getOppositeTriangle(prevIndex(j))); // edge d -> ce2

	Triangle2* pT2(t); // (v, ce, ce1)
	Triangle2* pT3(u); // (v, ce1, d)
	Triangle2* pT4(newTriangle()); // (v, d, ce2)
	Triangle2* pT1(newTriangle()); // (v, ce2, ce)

	pT2->setVertexPointer(0, v);
	pT2->setVertexPointer(1, ce);
	pT2->setVertexPointer(2, ce1);
	pT2->setOppTriangle(0, pOutT2);
	pT2->setOppTriangle(1, pT3);
	pT2->setOppTriangle(2, pT1);

	pT3->setVertexPointer(0, v);
	pT3->setVertexPointer(1, ce1);
	pT3->setVertexPointer(2, d);
	pT3->setOppTriangle(0, pOutU1);
	pT3->setOppTriangle(1, pT4);
	pT3->setOppTriangle(2, pT2);

	pT4->setVertexPointer(0, v);
	pT4->setVertexPointer(1, d);
	pT4->setVertexPointer(2, ce2);
	pT4->setOppTriangle(0, pOutU2);
	pT4->setOppTriangle(1, pT1);
	pT4->setOppTriangle(2, pT3);

	pT1->setVertexPointer(0, v);
	pT1->setVertexPointer(1, ce2);
	pT1->setVertexPointer(2, ce);
	pT1->setOppTriangle(0, pOutT1);
	pT1->setOppTriangle(1, pT2);
	pT1->setOppTriangle(2, pT4);

	if(pOutT1 != nullptr) pOutT1->setOppTriangle(pOutT1->getIntraTriangleIndex(t), pT1);
	if(pOutU2 != nullptr) pOutU2->setOppTriangle(pOutU2->getIntraTriangleIndex(u), pT4);
	v->setIncidentTriangle(pT2);
	ce->setIncidentTriangle(pT2);
	ce1->setIncidentTriangle(pT2);
	d->setIncidentTriangle(pT3);
	ce2->setIncidentTriangle(pT1);

	vFlipStack.push_back(pT2);
	vFlipStack.push_back(pT3);
	vFlipStack.push_back(pT4);
	vFlipStack.push_back(pT1);
}

// v lies beyond hull edge ith of pT. The hull edges visible from v (v strictly
// to their right) form one chain around edge ith; each gets a triangle
// (v, edge target, edge source) whose edge 0 is the old hull edge.
Triangle2* Dt2::insertVertexCH(Point2* v, Triangle2* pT, int ith)
{
	vVisibleHullEdgesBack.clear();
	vVisibleHullEdges.clear();

	// Backwards: the hull edge that ends at the source of the current one.
	Point2* pSrc(pT->getCorner(nextIndex(ith)));
	Triangle2* pX(pT);
	for(;;)
	{
		int m(pX->getIntraTriangleIndex(pSrc));
		while(pX->getOppositeTriangle(nextIndex(m)) != nullptr)
		{
			pX = pX->getOppositeTriangle(nextIndex(m));
			m = pX->getIntraTriangleIndex(pSrc);
		}
		int k(nextIndex(m));
		if(geomTest.getOrientation2(pX, k, v) != ORIENTATION2_CW) break;
		vVisibleHullEdgesBack.push_back(std::make_pair(pX, k));
		pSrc = pX->getCorner(nextIndex(k));
	}
	for(size_t i = vVisibleHullEdgesBack.size(); i > 0; --i) vVisibleHullEdges.push_back(vVisibleHullEdgesBack[i - 1]);
	vVisibleHullEdges.push_back(std::make_pair(pT, ith));
	// Forwards: the hull edge that starts at the target of the current one.
	Point2* pTrg(pT->getCorner(prevIndex(ith)));
	pX = pT;
	for(;;)
	{
		int m(pX->getIntraTriangleIndex(pTrg));
		while(pX->getOppositeTriangle(prevIndex(m)) != nullptr)
		{
			pX = pX->getOppositeTriangle(prevIndex(m));
			m = pX->getIntraTriangleIndex(pTrg);
		}
		int k(prevIndex(m));
		if(geomTest.getOrientation2(pX, k, v) != ORIENTATION2_CW) break;
		vVisibleHullEdges.push_back(std::make_pair(pX, k));
		pTrg = pX->getCorner(prevIndex(k));
	}

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
	if(bOnStartEdge && !bConstraintsExist)
	{
		Triangle2* pInner(pStartEdgeT->getOppositeTriangle(0));
		flipEdge(pStartEdgeT, 0);
		vFlipStack.push_back(pInner);
	}
	return legalize();
}

// ======================================================================
// Legalisation
// ======================================================================

// Fast mode trusts the double determinant only where it clears the error bound;
// an uncertain case counts as outside, so cocircular points never flip either way.
bool Dt2::isInCircleForFlip(const Point2* v, const Triangle2* pT)
{
	if(!bFastMode) return geomTest.circleInc3state(pT, v) == CINC2_INCIRCLE;
	const Point2* a(pT->getCorner(0));
	const Point2* b(pT->getCorner(1));
	const Point2* c(pT->getCorner(2));
	double qaX(a->x() - v->x()), qaY(a->y() - v->y());
	double qbX(b->x() - v->x()), qbY(b->y() - v->y());
	double qcX(c->x() - v->x()), qcY(c->y() - v->y());
	double la(qaX * qaX + qaY * qaY), lb(qbX * qbX + qbY * qbY), lc(qcX * qcX + qcY * qcY);
	double p0(qcX * qaY), p1(qcY * qaX), p2(qcY * qbX), p3(qcX * qbY), p4(qbY * qaX), p5(qbX * qaY);
	double det((p0 - p1) * lb + (p2 - p3) * la + (p4 - p5) * lc);
	double bound(((std::fabs(p1) + std::fabs(p0)) * lb + (std::fabs(p3) + std::fabs(p2)) * la + (std::fabs(p5) + std::fabs(p4)) * lc) * 3.33e-15);
	return det > bound;
}

Triangle2* Dt2::legalize()
{
	Triangle2* pLastT(nullptr);
	while(!vFlipStack.empty())
	{
		Triangle2* a(vFlipStack.back());
		Triangle2* b(a->getOppositeTriangle(0));
		// Constraint edges must stay; none exists while the flag is unset.
		if(b != nullptr && !bConstraintsExist && isInCircleForFlip(a->getCorner(0), b))
		{
			flipEdge(a, 0);
			vFlipStack.push_back(b);
		}
		else
		{
			pLastT = a;
			vFlipStack.pop_back();
		}
	}
	return pLastT;
}

/*
 * Flip of edge i of a = (ci, ci+1, ci+2) with b across it, d the far corner of b:
 *
 *            ci+2                     ci+2
 *            /|\                      /  \
 *           / | \                    / b  \
 *         ci  |  d     ==>        ci ------ d
 *           \ | /                    \ a  /
 *            \|/                      \  /
 *            ci+1                     ci+1
 *
 * a becomes (ci, ci+1, d), b becomes (ci, d, ci+2); ci stays corner 0 of both
 * when i is 0, so the inserted vertex keeps its place during legalisation.
 */
void Dt2::flipEdge(Triangle2* a, int i)
{
	Triangle2* b(a->getOppositeTriangle(i));
	int i1(nextIndex(i)), i2(prevIndex(i));
	Point2* ci(a->getCorner(i));
	Point2* ci1(a->getCorner(i1));
	Point2* ci2(a->getCorner(i2));
	int j(b->getIntraTriangleIndex(a));
	Point2* d(b->getCorner(j));
	Triangle2* pBFollow(b->getOppositeTriangle(nextIndex(j))); // across ci+1 -> d
	Triangle2* pBPrec(b->getOppositeTriangle(prevIndex(j))); // across d -> ci+2
	Triangle2* pAOpp1(a->getOppositeTriangle(i1)); // across ci+2 -> ci
	Triangle2* pAOpp2(a->getOppositeTriangle(i2)); // across ci -> ci+1

	a->setVertexPointer(0, ci);
	a->setVertexPointer(1, ci1);
	a->setVertexPointer(2, d);
	a->setOppTriangle(0, pBFollow);
	a->setOppTriangle(1, b);
	a->setOppTriangle(2, pAOpp2);

	b->setVertexPointer(0, ci);
	b->setVertexPointer(1, d);
	b->setVertexPointer(2, ci2);
	b->setOppTriangle(0, pBPrec);
	b->setOppTriangle(1, pAOpp1);
	b->setOppTriangle(2, a);

	if(pBFollow != nullptr) pBFollow->setOppTriangle(pBFollow->getIntraTriangleIndex(b), a);
	if(pAOpp1 != nullptr) pAOpp1->setOppTriangle(pAOpp1->getIntraTriangleIndex(a), b);
	ci1->setIncidentTriangle(a);
	ci2->setIncidentTriangle(b);
}

} // namespace MIREL25D
