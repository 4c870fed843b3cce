#include "Chunk.h"
#include "Dt2.h"
#include "GeomTestInline.h"
#include "Triangle2.h"
#include "tools.h"
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iostream>

namespace MIREL25D {

Chunk::Chunk(Dt2* pDt_, InlineGeomTest* pGeomTest_, size_t chunkIndex_, std::vector<Point2*>* pvDenseVtx_, size_t first_, size_t last_)
	: state(0), pDt(pDt_), pGeomTest(pGeomTest_), chunkIndex(chunkIndex_), pvDenseVtx(pvDenseVtx_), first(first_), last(last_), minX(0.0), minY(0.0),
	  maxX(0.0), maxY(0.0), aStartVtx{nullptr, nullptr, nullptr}, numFreshUsed(0), pFinalT(nullptr)
{
	// The exact stages must cover the chunk's coordinates before any worker
	// runs (the batch's box normally did that already).
	double maxAbs(0.0);
	for(size_t i = first; i < last; ++i) maxAbs = std::max(maxAbs, (*pvDenseVtx)[i]->getMaxAbs());
	if(maxAbs > pGeomTest->getMaxCoord()) pGeomTest->setStaticBound_MT(maxAbs);
	vLocalCheckT.reserve(32);
	vFlippedT.reserve(32);
}

// ======================================================================
// Extended box
// ======================================================================

bool Chunk::isInBox(const Triangle2* pT) const
{
	return isInBox(pT->getCorner(0)) && isInBox(pT->getCorner(1)) && isInBox(pT->getCorner(2));
}

void Chunk::growByCircumcircle(const Triangle2* pT, const char* accuracyMessage)
{
	std::pair<Point2, bool> dual(pT->getDual());
	if(!dual.second) std::cout << accuracyMessage << std::endl;
	const Point2& centre(dual.first);
	// The largest corner distance covers the circle even where the centre is a
	// little off; the corners themselves are added as well.
	double radius(0.0);
	for(int i = 0; i < 3; ++i)
	{
		const Point2* c(pT->getCorner(i));
		double dx(c->x() - centre.x()), dy(c->y() - centre.y());
		double r(std::sqrt(dx * dx + dy * dy));
		if(r > radius) radius = r;
		extBox.add(*c);
	}
	if(!(radius < 1e300)) return; // a flat triangle: its corners must do
	extBox.add(Point2(centre.x() - radius, centre.y() - radius, 0.0));
	extBox.add(Point2(centre.x() + radius, centre.y() + radius, 0.0));
}

/*
 * Inserting v changes the triangles whose circumcircle contains v. In the
 * coarse mesh these are the triangle holding v and those around it; their
 * circumcircles, and those of their neighbours, cover the region in which the
 * later, finer mesh can change for v in all but rare cases (see the class
 * comment for what happens then). The box is clipped to the fake box, outside
 * of which no triangle exists.
 */
void Chunk::determineExtBox(Triangle2* pStartT, const Bbox2& clipBox)
{
	MIREL_ASSERT(pStartT!=0);
	extBox = Bbox2();
	std::vector<Triangle2*> vConcernedT;
	Triangle2* pT(pStartT);
	Triangle2* pLastT(nullptr);
	// Every few vertices suffice: successive vertices are neighbours on the
	// curve and mostly share their coarse triangle; the last one is included.
	const size_t sampleStep(16);
	for(size_t i = first; i < last; i = (i + sampleStep < last || i + 1 == last) ? i + sampleStep : last - 1)
	{
		// Inside the fake box the walk ends in a triangle (or on its edge or corner).
		int e(-1);
		pDt->locateConflictTriangle((*pvDenseVtx)[i], pT, e);
		if(pT != pLastT)
		{
			vConcernedT.push_back(pT);
			if(e >= 0 && pT->getOppositeTriangle(e) != nullptr) vConcernedT.push_back(pT->getOppositeTriangle(e));
			pLastT = pT;
		}
	}
	MIREL_ASSERT(pLastT!=0);
	for(int k = 0; k < 3; ++k) aStartVtx[k] = vConcernedT[0]->getCorner(k);

	// Repeated triangles are common (a coarse triangle holds many vertices).
	std::sort(vConcernedT.begin(), vConcernedT.end());
	vConcernedT.erase(std::unique(vConcernedT.begin(), vConcernedT.end()), vConcernedT.end());
	for(Triangle2* pConcernedT : vConcernedT) growByCircumcircle(pConcernedT, "bad accuracy1, todo");
	// Second pass: the neighbours not yet counted, each once.
	std::vector<Triangle2*> vNeighbourT;
	for(Triangle2* pConcernedT : vConcernedT)
	{
		for(int i = 0; i < 3; ++i)
		{
			Triangle2* pNeigT(pConcernedT->getOppositeTriangle(i));
			if(pNeigT != nullptr && !std::binary_search(vConcernedT.begin(), vConcernedT.end(), pNeigT)) vNeighbourT.push_back(pNeigT);
		}
	}
	std::sort(vNeighbourT.begin(), vNeighbourT.end());
	vNeighbourT.erase(std::unique(vNeighbourT.begin(), vNeighbourT.end()), vNeighbourT.end());
	for(Triangle2* pNeigT : vNeighbourT) growByCircumcircle(pNeigT, "bad accuracy2, todo");

	minX = std::max(extBox.get_minX(), clipBox.get_minX());
	minY = std::max(extBox.get_minY(), clipBox.get_minY());
	maxX = std::min(extBox.get_maxX(), clipBox.get_maxX());
	maxY = std::min(extBox.get_maxY(), clipBox.get_maxY());
	extBox.setMinX(minX);
	extBox.setMinY(minY);
	extBox.setMaxX(maxX);
	extBox.setMaxY(maxY);
}

// ======================================================================
// Running
// ======================================================================

Triangle2* Chunk::findStartTriangle() const
{
	for(Point2* pVtx : aStartVtx)
	{
		if(pVtx == nullptr || !isInBox(pVtx)) continue;
		Triangle2* pIncT(pVtx->getIncidentTriangle());
		MIREL_ASSERT(pIncT!=NULL);
		if(isInBox(pIncT)) return pIncT;
	}
	return nullptr;
}

void Chunk::run()
{
	Triangle2* pT(findStartTriangle());
	if(pT == nullptr)
	{
		for(size_t i = first; i < last; ++i) vDeferred.push_back((*pvDenseVtx)[i]);
		return;
	}
	pFinalT = localTriangulateRec(first, last, pT);
}

// Middle first, then the left half from the middle's triangle, then the right
// half: successive insertions stay close and the mesh is refined evenly, which
// keeps conflict regions small (plain curve order would build long fans).
Triangle2* Chunk::localTriangulateRec(size_t lo, size_t hi, Triangle2* pStartTriangle)
{
	while(hi - lo >= 16)
	{
		size_t mid(lo + (hi - lo) / 2);
		Point2* v((*pvDenseVtx)[mid]);
		Triangle2* pLeftStartT(insertOrDefer(v, pStartTriangle));
		Triangle2* pRightStartT(localTriangulateRec(lo, mid, pLeftStartT));
		// The middle's own triangle is nearer to the right half, but only if the
		// middle went in here; otherwise the left half's last triangle serves.
		Triangle2* pIncT(v->getIncidentTriangle());
		pStartTriangle = (pIncT != nullptr && isInBox(pIncT)) ? pIncT : pRightStartT;
		lo = mid + 1;
	}
	for(; lo < hi; ++lo) pStartTriangle = insertOrDefer((*pvDenseVtx)[lo], pStartTriangle);
	return pStartTriangle;
}

Triangle2* Chunk::insertOrDefer(Point2* v, Triangle2* pStartTriangle)
{
	Triangle2* pT(localInsertVertex(v, pStartTriangle));
	if(pT != nullptr) return pT;
	vDeferred.push_back(v);
	return pStartTriangle;
}

// In pool order, so that the triangles of successive insertions are neighbours in memory.
Triangle2* Chunk::freshTriangle()
{
	return vFreshT[numFreshUsed++];
}

Triangle2* Chunk::localInsertVertex(Point2* v, Triangle2* pStartTriangle)
{
	MIREL_ASSERT(vLocalCheckT.empty());
	Triangle2* pT(pStartTriangle);
	int e(-1);
	int r(locateInsideConflictT(v, pT, e));
	if(r == LEAVES_BOX) return nullptr;
	if(r == 4)
	{
		for(int i = 0; i < 3; ++i)
		{
			if(*pT->getCorner(i) == *v)
			{
				vDuplicates.push_back(std::make_pair(v, pT->getCorner(i)));
				break;
			}
		}
		return pT;
	}
	Triangle2* u(nullptr); // the neighbour that a split on an edge changes too
	if(e == -1) localSplit13(v, pT);
	else
	{
		u = pT->getOppositeTriangle(e);
		if(!isInBox(u->getCorner(u->getIntraTriangleIndex(pT)))) return nullptr;
		localSplit24(v, pT, e);
	}
	Triangle2* pLastHandledT(localLegalize(v));
	if(pLastHandledT != nullptr) return pLastHandledT;
	// A flip would leave the box: back to the mesh before v.
	undoFlips();
	if(u == nullptr) undoSplit13(v, pT);
	else undoSplit24(v, pT, u);
	return nullptr;
}

// The sequential visibility walk, except that it never steps into a triangle
// outside the box. Inside the fake box no hull edge can be reached.
int Chunk::locateInsideConflictT(const Point2* v, Triangle2*& pStartTriangle, int& e)
{
	MIREL_ASSERT(pStartTriangle!=0);
	size_t numSteps(0);
	int aOrder[3] = {0, 1, 2};
	int numEdges(3);
	e = -1;
	for(int k = 0; k < numEdges; ++k)
	{
		int ith(aOrder[k]);
		Orientation2 ori(pGeomTest->getOrientation2(pStartTriangle, ith, v));
		if(ori == ORIENTATION2_CCW) continue;
		if(ori == ORIENTATION2_COLLINEAR)
		{
			if(*pStartTriangle->getCorner(0) == *v || *pStartTriangle->getCorner(1) == *v || *pStartTriangle->getCorner(2) == *v) return 4;
			MIREL_ASSERT(pStartTriangle->getOppositeTriangle(ith)!=0);
			e = ith;
			continue;
		}
		e = -1;
		Triangle2* tmpTriangle(pStartTriangle->getOppositeTriangle(ith));
		MIREL_ASSERT(tmpTriangle!=0);
		// Two corners are shared with the current triangle, which is in the box.
		int j(tmpTriangle->getIntraTriangleIndex(pStartTriangle));
		if(!isInBox(tmpTriangle->getCorner(j))) return LEAVES_BOX;
		pStartTriangle = tmpTriangle;
		if(++numSteps > 1000)
		{
			int s(std::rand() % 3);
			aOrder[0] = s;
			aOrder[1] = nextIndex(s);
			aOrder[2] = prevIndex(s);
			numEdges = 3;
		}
		else
		{
			bool bCrossedFirst(k != 1);
			aOrder[0] = bCrossedFirst ? nextIndex(j) : prevIndex(j);
			aOrder[1] = bCrossedFirst ? prevIndex(j) : nextIndex(j);
			numEdges = 2;
		}
		k = -1;
	}
	return -1;
}

bool Chunk::conflicts(const Point2* v, const Triangle2* pT) const
{
	if(pDt->isFastMode()) return pDt->isInCircleForFlip(v, pT);
	return pGeomTest->circleInc3state(pT, v) == CINC2_INCIRCLE;
}

void Chunk::localSplit13(Point2* v, Triangle2* t)
{
	Point2* c0(t->getCorner(0));
	Point2* c1(t->getCorner(1));
	Point2* c2(t->getCorner(2));
	Triangle2* t0(t->getOppositeTriangle(0));
	Triangle2* t1(t->getOppositeTriangle(1));
	Triangle2* t2(t->getOppositeTriangle(2));
	Triangle2* pA(freshTriangle());
	Triangle2* pB(freshTriangle());
	t->setPropertiesAndOppT(v, c0, c1, t2, pA, pB);
	pA->setPropertiesAndOppT(v, c1, c2, t0, pB, t);
	pB->setPropertiesAndOppT(v, c2, c0, t1, t, pA);
	if(t0 != nullptr) t0->setOppTriangle(t0->getIntraTriangleIndex(t), pA);
	if(t1 != nullptr) t1->setOppTriangle(t1->getIntraTriangleIndex(t), pB);
	vLocalCheckT.push_back(t);
	vLocalCheckT.push_back(pA);
	vLocalCheckT.push_back(pB);
}

// v on edge e of t: t and its neighbour u become four triangles around v, as
// in the sequential 2-to-4 split.
void Chunk::localSplit24(Point2* v, Triangle2* t, int e)
{
	Triangle2* u(t->getOppositeTriangle(e));
	MIREL_ASSERT(u!=0);
	Point2* ce(t->getCorner(e));
	Point2* ce1(t->getCorner(nextIndex(e)));
	Point2* ce2(t->getCorner(prevIndex(e)));
	int j(u->getIntraTriangleIndex(t));
	Point2* d(u->getCorner(j));
	Triangle2* pOutT1(t->getOppositeTriangle(nextIndex(e))); // edge ce2 -> ce
	Triangle2* pOutT2(t->getOppositeTriangle(prevIndex(e))); // edge ce -> ce1
	Triangle2* pOutU1(u->getOppositeTriangle(nextIndex(j))); // edge ce1 -> d
	Triangle2* pOutU2(u->getOppositeTriangle(prevIndex(j))); // edge d -> ce2
	Triangle2* pT4(freshTriangle());
	Triangle2* pT1(freshTriangle());
	t->setPropertiesAndOppT(v, ce, ce1, pOutT2, u, pT1);
	u->setPropertiesAndOppT(v, ce1, d, pOutU1, pT4, t);
	pT4->setPropertiesAndOppT(v, d, ce2, pOutU2, pT1, u);
	pT1->setPropertiesAndOppT(v, ce2, ce, pOutT1, t, pT4);
	if(pOutT1 != nullptr) pOutT1->setOppTriangle(pOutT1->getIntraTriangleIndex(t), pT1);
	if(pOutU2 != nullptr) pOutU2->setOppTriangle(pOutU2->getIntraTriangleIndex(u), pT4);
	vLocalCheckT.push_back(t);
	vLocalCheckT.push_back(u);
	vLocalCheckT.push_back(pT4);
	vLocalCheckT.push_back(pT1);
}

// The sequential legalisation, except that a flip whose far corner lies
// outside the box is not made: then null, and vFlippedT lists the flips made
// so far (each triangle a of flipEdge(a, 0), in order) for undoFlips.
Triangle2* Chunk::localLegalize(Point2* v)
{
	vFlippedT.clear();
	Triangle2* pLastHandledT(nullptr);
	while(!vLocalCheckT.empty())
	{
		Triangle2* a(vLocalCheckT.back());
		Triangle2* b(a->getOppositeTriangle(0));
		if(b != nullptr && conflicts(v, b))
		{
			if(!isInBox(b->getCorner(b->getIntraTriangleIndex(a))))
			{
				vLocalCheckT.clear();
				return nullptr;
			}
			pDt->flipEdge(a, 0);
			vFlippedT.push_back(a);
			vLocalCheckT.push_back(b);
		}
		else
		{
			pLastHandledT = a;
			vLocalCheckT.pop_back();
		}
	}
	return pLastHandledT;
}

/*
 * The inverse of flipEdge(a, 0), newest flip first. After that flip
 *   a = (v, c1, d) with neighbours (nBF, b, nA2),
 *   b = (v, d, c2) with neighbours (nBP, nA1, a);
 * before it a = (v, c1, c2) with neighbours (b, nA1, nA2) and b = (d, c2, c1)
 * with neighbours (a, nBF, nBP). Incident triangles set by the flip still hold
 * their vertex afterwards, so they stay valid.
 */
void Chunk::undoFlips()
{
	for(size_t k = vFlippedT.size(); k > 0; --k)
	{
		Triangle2* a(vFlippedT[k - 1]);
		Triangle2* b(a->getOppositeTriangle(1));
		Point2* v(a->getCorner(0));
		Point2* c1(a->getCorner(1));
		Point2* d(a->getCorner(2));
		Point2* c2(b->getCorner(2));
		Triangle2* nBF(a->getOppositeTriangle(0));
		Triangle2* nA2(a->getOppositeTriangle(2));
		Triangle2* nBP(b->getOppositeTriangle(0));
		Triangle2* nA1(b->getOppositeTriangle(1));
		a->setVertexPointer(0, v);
		a->setVertexPointer(1, c1);
		a->setVertexPointer(2, c2);
		a->setOppTriangle(0, b);
		a->setOppTriangle(1, nA1);
		a->setOppTriangle(2, nA2);
		b->setVertexPointer(0, d);
		b->setVertexPointer(1, c2);
		b->setVertexPointer(2, c1);
		b->setOppTriangle(0, a);
		b->setOppTriangle(1, nBF);
		b->setOppTriangle(2, nBP);
		if(nBF != nullptr) nBF->setOppTriangle(nBF->getIntraTriangleIndex(a), b);
		if(nA1 != nullptr) nA1->setOppTriangle(nA1->getIntraTriangleIndex(b), a);
	}
	vFlippedT.clear();
}

// t = (v, c0, c1), pA = (v, c1, c2), pB = (v, c2, c0) back to (c0, c1, c2);
// pA and pB were the last fresh triangles taken.
void Chunk::undoSplit13(Point2* v, Triangle2* t)
{
	Triangle2* pA(t->getOppositeTriangle(1));
	Triangle2* pB(t->getOppositeTriangle(2));
	Triangle2* t0(pA->getOppositeTriangle(0));
	Triangle2* t1(pB->getOppositeTriangle(0));
	Triangle2* t2(t->getOppositeTriangle(0));
	t->setPropertiesAndOppT(t->getCorner(1), t->getCorner(2), pA->getCorner(2), t0, t1, t2);
	if(t0 != nullptr) t0->setOppTriangle(t0->getIntraTriangleIndex(pA), t);
	if(t1 != nullptr) t1->setOppTriangle(t1->getIntraTriangleIndex(pB), t);
	v->setIncidentTriangle(nullptr);
	numFreshUsed -= 2;
}

// t = (v, ce, ce1), u = (v, ce1, d), pT4 = (v, d, ce2), pT1 = (v, ce2, ce)
// back to t = (ce, ce1, ce2) and u = (d, ce2, ce1).
void Chunk::undoSplit24(Point2* v, Triangle2* t, Triangle2* u)
{
	Triangle2* pT4(u->getOppositeTriangle(1));
	Triangle2* pT1(t->getOppositeTriangle(2));
	Point2* ce(t->getCorner(1));
	Point2* ce1(t->getCorner(2));
	Point2* d(u->getCorner(2));
	Point2* ce2(pT4->getCorner(2));
	Triangle2* pOutT2(t->getOppositeTriangle(0));
	Triangle2* pOutU1(u->getOppositeTriangle(0));
	Triangle2* pOutU2(pT4->getOppositeTriangle(0));
	Triangle2* pOutT1(pT1->getOppositeTriangle(0));
	t->setPropertiesAndOppT(ce, ce1, ce2, u, pOutT1, pOutT2);
	u->setPropertiesAndOppT(d, ce2, ce1, t, pOutU1, pOutU2);
	if(pOutT1 != nullptr) pOutT1->setOppTriangle(pOutT1->getIntraTriangleIndex(pT1), t);
	if(pOutU2 != nullptr) pOutU2->setOppTriangle(pOutU2->getIntraTriangleIndex(pT4), u);
	v->setIncidentTriangle(nullptr);
	numFreshUsed -= 2;
}

} // namespace MIREL25D
