#include "Chunk.h"
#include "Dt2.h"
#include "GeomTestInline.h"
#include "MeshSurgery.h"
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
	if(!dual.second) sendRawText(std::string(accuracyMessage) + "\n");
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

// The dense list in curve order, middle first (MeshSurgery::insertMiddleFirst)
// as in the sequential batch insertion. Its vertices carry no keys, so every
// element is a run of its own.
struct Chunk::DenseOps
{
	typedef std::vector<Point2*>::iterator It;
	Chunk& chunk;
	Triangle2* insert(It it, Triangle2* pStartT) { return chunk.insertOrDefer(*it, pStartT); }
	It runStart(It /*first*/, It mid) const { return mid; }
	It runEnd(It mid, It /*last*/) const { return mid + 1; }
	Triangle2* rightStart(It mid, Triangle2* /*pMidT*/, Triangle2* pLeftEndT) const
	{
		// The middle's own triangle is nearer to the right half, but only if the
		// middle went in here; otherwise the left half's last triangle serves.
		Triangle2* pIncT((*mid)->getIncidentTriangle());
		return (pIncT != nullptr && chunk.isInBox(pIncT)) ? pIncT : pLeftEndT;
	}
};

Triangle2* Chunk::localTriangulateRec(size_t lo, size_t hi, Triangle2* pStartTriangle)
{
	DenseOps ops{*this};
	return MeshSurgery::insertMiddleFirst(pvDenseVtx->begin() + long(lo), pvDenseVtx->begin() + long(hi), pStartTriangle, ops);
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

// The walk and the flips stay inside the box: a step or a flip that would
// touch a triangle with a corner outside it is refused.
struct Chunk::BoxGuard
{
	const Chunk& chunk;
	// Two corners are shared with the current triangle, which is in the box.
	bool mayCross(const Triangle2* /*t*/, int /*i*/, const Triangle2* pNext, int j) const { return chunk.isInBox(pNext->getCorner(j)); }
};

struct Chunk::BoxFlipPolicy
{
	Chunk& chunk;
	bool isIllegal(const Point2* v, const Triangle2* b) { return MeshSurgery::isInCircleForFlip(*chunk.pGeomTest, chunk.pDt->isFastMode(), v, b); }
	MeshSurgery::FlipVerdict decide(Triangle2* a, Triangle2* b)
	{
		return chunk.isInBox(b->getCorner(b->getIntraTriangleIndex(a))) ? MeshSurgery::FLIP_DO : MeshSurgery::FLIP_ABORT;
	}
	void flipped(Triangle2* a) { chunk.vFlippedT.push_back(a); }
};

Triangle2* Chunk::localInsertVertex(Point2* v, Triangle2* pStartTriangle)
{
	MIREL_DEBUG_ASSERT(vLocalCheckT.empty());
	Triangle2* pT(pStartTriangle);
	int e(-1);
	BoxGuard guard{*this};
	LocateResult r(MeshSurgery::walkToPoint(*pGeomTest, v, pT, e, guard));
	if(r == LOC_STOPPED) return nullptr;
	// Inside the fake box no hull edge can be reached.
	MIREL_ASSERT(!isBeyondHull(r));
	if(r == LOC_ON_CORNER)
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
	if(e == -1)
	{
		Triangle2* pA(freshTriangle());
		Triangle2* pB(freshTriangle());
		MeshSurgery::split13(v, pT, pA, pB, vLocalCheckT);
	}
	else
	{
		u = pT->getOppositeTriangle(e);
		MIREL_ASSERT(u!=0);
		if(!isInBox(u->getCorner(u->getIntraTriangleIndex(pT)))) return nullptr;
		Triangle2* pNew1(freshTriangle());
		Triangle2* pNew2(freshTriangle());
		MeshSurgery::split24(v, pT, e, pNew1, pNew2, vLocalCheckT);
	}
	vFlippedT.clear();
	BoxFlipPolicy policy{*this};
	Triangle2* pLastHandledT(MeshSurgery::legalize(vLocalCheckT, policy));
	if(pLastHandledT != nullptr) return pLastHandledT;
	// A flip would leave the box: back to the mesh before v, newest flip first.
	for(size_t k = vFlippedT.size(); k > 0; --k) MeshSurgery::unflip(vFlippedT[k - 1]);
	vFlippedT.clear();
	if(u == nullptr) MeshSurgery::unsplit13(v, pT);
	else MeshSurgery::unsplit24(v, pT, u);
	numFreshUsed -= 2; // the split's two triangles go back
	return nullptr;
}

} // namespace MIREL25D
