#pragma once
// Mesh surgery: the few local changes every algorithm of the library makes to
// the triangle mesh (point location, splits, flips and their inverses, fan
// steps and Lawson legalisation), written once. Internal: not part of the
// installed interface.
//
// Nothing here allocates or locks: the callers hand in the triangles a split
// needs and the stack it pushes onto, so the sequential insertion (pool), the
// parallel chunks (pre-fetched triangles) and vertex removal (recycled
// triangles) share the same code.
#include "GeomTestInline.h"
#include "Point2.h"
#include "Triangle2.h"
#include "tools.h"
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <vector>

namespace MIREL25D {

// Where a point walk ended. The values are the location codes the insertion
// has always used: the beyond-hull codes are the hull edge's index.
enum LocateResult : int
{
	LOC_INSIDE = -1,       // inside t: strictly if e == -1, else in the interior of edge e
	LOC_BEYOND_EDGE0 = 0,  // outside the hull, beyond hull edge 0 of t
	LOC_BEYOND_EDGE1 = 1,  // ... edge 1
	LOC_BEYOND_EDGE2 = 2,  // ... edge 2
	LOC_ON_CORNER = 4,     // same x and y as a corner of t
	LOC_STOPPED = 5        // the guard refused a step across edge e of t
};

inline bool isBeyondHull(int r)
{
	return r >= LOC_BEYOND_EDGE0 && r <= LOC_BEYOND_EDGE2;
}

// After this many steps a walk may be circling among degenerate triangles; from
// then on each triangle is entered at a random edge, which breaks every cycle.
const size_t WALK_STEPS_BEFORE_RANDOM_ORDER(1000);
// A walk this long is lost in a broken mesh: logged, then the banner.
const size_t MAX_WALK_STEPS(size_t(1) << 32);

/*
 * Guards of the point walk. Before each step from t across its edge i into the
 * neighbour n (j being the index of t in n), the walk asks
 *     bool mayCross(const Triangle2* t, int i, const Triangle2* n, int j)
 * and ends with LOC_STOPPED (t and e = i kept) when the answer is no. A guard
 * may also watch: every crossing passes through it, in walk order.
 * - NoWalkGuard: the plain walk of the sequential insertion.
 * - A box guard: the parallel chunks stay in their boxes (Chunk).
 * - A constraint guard (stop at constraint edges) or a recording guard (the
 *   crossed edges) are written the same way by their algorithms.
 */
struct NoWalkGuard
{
	bool mayCross(const Triangle2* /*t*/, int /*i*/, const Triangle2* /*n*/, int /*j*/) const { return true; }
};

namespace MeshSurgery {

/*
 * Visibility walk from t towards v, every decision by the exact orientation.
 * The two edges tested after a step alternate their order so the walk cannot
 * circle; after WALK_STEPS_BEFORE_RANDOM_ORDER steps each new triangle starts
 * at a random edge. A point on the line of a hull edge but not on a corner is
 * resolved by the two other edges: on the edge itself the result names that
 * hull edge, so the outside-hull insertion takes it through the edge.
 * Returns a LocateResult; t is the triangle reached, e the edge as described there.
 */
template<class Guard>
LocateResult walkToPoint(GeomTest& geomTest, const Point2* v, Triangle2*& t, int& e, Guard& guard)
{
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
				Orientation2 ori(filteredOrientation2(geomTest, t->getCorner(nextIndex(i)), t->getCorner(prevIndex(i)), v));
				if(ori == ORIENTATION2_CCW) continue;
				if(ori == ORIENTATION2_COLLINEAR)
				{
					if(*t->getCorner(0) == *v || *t->getCorner(1) == *v || *t->getCorner(2) == *v) return LOC_ON_CORNER;
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
				if(pNext == nullptr) return LocateResult(i);
				int j(pNext->getIntraTriangleIndex(t));
				if(!guard.mayCross(t, i, pNext, j))
				{
					e = i;
					return LOC_STOPPED;
				}
				t = pNext;
				if(++numSteps > WALK_STEPS_BEFORE_RANDOM_ORDER)
				{
					if(numSteps > MAX_WALK_STEPS)
					{
						reportLoopCap("MeshSurgery::walkToPoint()", "MAX_WALK_STEPS", MAX_WALK_STEPS);
						MIREL_ASSERT(numSteps<=MAX_WALK_STEPS);
					}
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
				bStepped = true;
				break;
			}
		}
		if(hullLineEdge < 0) return LOC_INSIDE;

		// v on the line of hull edge i, not on a corner: on the edge, or beyond one of its ends.
		int i(hullLineEdge);
		int crossed(-1);
		if(filteredOrientation2(geomTest, t->getCorner(prevIndex(i)), t->getCorner(i), v) == ORIENTATION2_CW) crossed = nextIndex(i);
		else if(filteredOrientation2(geomTest, t->getCorner(i), t->getCorner(nextIndex(i)), v) == ORIENTATION2_CW) crossed = prevIndex(i);
		if(crossed < 0) return LocateResult(i);
		Triangle2* pNext(t->getOppositeTriangle(crossed));
		if(pNext == nullptr) return LocateResult(crossed);
		if(!guard.mayCross(t, crossed, pNext, pNext->getIntraTriangleIndex(t)))
		{
			e = crossed;
			return LOC_STOPPED;
		}
		t = pNext;
		++numSteps;
	}
}

// t = (c0, c1, c2) becomes (v, c0, c1); pA and pB (made by the caller) become
// (v, c1, c2) and (v, c2, c0). Each keeps one old outer edge as its edge 0 and
// is pushed, t first.
inline void split13(Point2* v, Triangle2* t, Triangle2* pA, Triangle2* pB, std::vector<Triangle2*>& vFlipStack)
{
	Point2* c0(t->getCorner(0));
	Point2* c1(t->getCorner(1));
	Point2* c2(t->getCorner(2));
	Triangle2* t0(t->getOppositeTriangle(0));
	Triangle2* t1(t->getOppositeTriangle(1));
	Triangle2* t2(t->getOppositeTriangle(2));
	*t = Triangle2(v, c0, c1, t2, pA, pB);
	*pA = Triangle2(v, c1, c2, t0, pB, t);
	*pB = Triangle2(v, c2, c0, t1, t, pA);
	if(t0 != nullptr) t0->setOppTriangle(t0->getIntraTriangleIndex(t), pA);
	if(t1 != nullptr) t1->setOppTriangle(t1->getIntraTriangleIndex(t), pB);
	v->setIncidentTriangle(t);
	c2->setIncidentTriangle(pA);
	vFlipStack.push_back(t);
	vFlipStack.push_back(pA);
	vFlipStack.push_back(pB);
}

// v in the interior of edge e of t; u is the neighbour across e, d its far
// corner. The ring around v is c(e), c(e+1), d, c(e+2): t becomes
// (v, ce, ce1), u (v, ce1, d), pNew1 (v, d, ce2), pNew2 (v, ce2, ce), each
// with an old outer edge as edge 0, pushed in that order.
inline void split24(Point2* v, Triangle2* t, int e, Triangle2* pNew1, Triangle2* pNew2, std::vector<Triangle2*>& vFlipStack)
{
	Triangle2* u(t->getOppositeTriangle(e));
	MIREL_DEBUG_ASSERT(u!=0);
	Point2* ce(t->getCorner(e));
	Point2* ce1(t->getCorner(nextIndex(e)));
	Point2* ce2(t->getCorner(prevIndex(e)));
	int j(u->getIntraTriangleIndex(t));
	Point2* d(u->getCorner(j));
	Triangle2* pOutT1(t->getOppositeTriangle(nextIndex(e))); // edge ce2 -> ce
	Triangle2* pOutT2(t->getOppositeTriangle(prevIndex(e))); // edge ce -> ce1
	Triangle2* pOutU1(u->getOppositeTriangle(nextIndex(j))); // edge ce1 -> d
	Triangle2* pOutU2(u->getOppositeTriangle(prevIndex(j))); // edge d -> ce2
	*t = Triangle2(v, ce, ce1, pOutT2, u, pNew2);
	*u = Triangle2(v, ce1, d, pOutU1, pNew1, t);
	*pNew1 = Triangle2(v, d, ce2, pOutU2, pNew2, u);
	*pNew2 = Triangle2(v, ce2, ce, pOutT1, t, pNew1);
	if(pOutT1 != nullptr) pOutT1->setOppTriangle(pOutT1->getIntraTriangleIndex(t), pNew2);
	if(pOutU2 != nullptr) pOutU2->setOppTriangle(pOutU2->getIntraTriangleIndex(u), pNew1);
	v->setIncidentTriangle(t);
	ce->setIncidentTriangle(t);
	ce1->setIncidentTriangle(t);
	d->setIncidentTriangle(u);
	ce2->setIncidentTriangle(pNew2);
	vFlipStack.push_back(t);
	vFlipStack.push_back(u);
	vFlipStack.push_back(pNew1);
	vFlipStack.push_back(pNew2);
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
inline void flip(Triangle2* a, int i)
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
	*a = Triangle2(ci, ci1, d, pBFollow, b, pAOpp2);
	*b = Triangle2(ci, d, ci2, pBPrec, pAOpp1, a);
	if(pBFollow != nullptr) pBFollow->setOppTriangle(pBFollow->getIntraTriangleIndex(b), a);
	if(pAOpp1 != nullptr) pAOpp1->setOppTriangle(pAOpp1->getIntraTriangleIndex(a), b);
	ci1->setIncidentTriangle(a);
	ci2->setIncidentTriangle(b);
}

// The inverse of flip(a, 0). Incident triangles set by the flip still hold
// their vertex afterwards, so they stay valid.
void unflip(Triangle2* a);
// The inverse of split13(v, t, pA, pB): t is (c0, c1, c2) again and v has no
// triangle; pA and pB are the caller's to reuse.
void unsplit13(Point2* v, Triangle2* t);
// The inverse of split24(v, t, e, ..., ...) with u the old neighbour across e.
void unsplit24(Point2* v, Triangle2* t, Triangle2* u);

// In-circle test for a flip. Fast mode trusts the double determinant only
// where it clears the error bound; an uncertain case counts as outside, so
// cocircular points never flip either way.
inline bool isInCircleForFlip(GeomTest& geomTest, bool bFastMode, const Point2* v, const Triangle2* pT)
{
	if(!bFastMode) return filteredCircleInc3state(geomTest, pT, v) == CINC2_INCIRCLE;
	return doubleStageCircleInc3state(pT->getCorner(0), pT->getCorner(1), pT->getCorner(2), v) == CINC2_INCIRCLE;
}

// What a legalisation policy says about a flip the in-circle test wants.
enum FlipVerdict
{
	FLIP_DO,    // flip it
	FLIP_KEEP,  // the edge stays (a constraint edge)
	FLIP_ABORT  // give up: the caller undoes what it did
};

/*
 * Lawson legalisation of the edges 0 of the stacked triangles, whose corner 0
 * is the new vertex. The policy answers
 *     bool isIllegal(const Point2* v, const Triangle2* b)  v inside b's circumcircle
 *     FlipVerdict decide(Triangle2* a, Triangle2* b)        may edge 0 of a go
 *     void flipped(Triangle2* a)                             after flip(a, 0)
 * Returns the last triangle handled, or null after FLIP_ABORT (stack emptied).
 */
template<class Policy>
Triangle2* legalize(std::vector<Triangle2*>& vFlipStack, Policy& policy)
{
	Triangle2* pLastT(nullptr);
	while(!vFlipStack.empty())
	{
		Triangle2* a(vFlipStack.back());
		Triangle2* b(a->getOppositeTriangle(0));
		if(b != nullptr && policy.isIllegal(a->getCorner(0), b))
		{
			FlipVerdict verdict(policy.decide(a, b));
			if(verdict == FLIP_DO)
			{
				flip(a, 0);
				policy.flipped(a);
				vFlipStack.push_back(b);
				continue;
			}
			if(verdict == FLIP_ABORT)
			{
				vFlipStack.clear();
				return nullptr;
			}
		}
		pLastT = a;
		vFlipStack.pop_back();
	}
	return pLastT;
}

// ---- Batch order ----

// Below this many elements a range goes in one after another.
const std::ptrdiff_t MIDDLE_FIRST_MIN_RANGE(16);

/*
 * Middle-first insertion of a range in curve order: the middle element first,
 * then the left half from the triangle it returned, then the right half. Each
 * insertion starts near the previous one, so walks stay short, and the mesh
 * is refined evenly, which keeps conflict regions small (plain curve order
 * would build long fans). The caller's ops say what differs:
 *     Triangle2* insert(It p, Triangle2* pStartT)   inserts *p; a triangle near it
 *     It runStart(It first, It mid)                 the first element of mid's
 *                                                   run of equal keys, not before first
 *     It runEnd(It mid, It last)                    just past that run
 *     Triangle2* rightStart(It mid, Triangle2* pMidT, Triangle2* pLeftEndT)
 *         the start for the right half, given the triangles returned by the
 *         middle's insertion and by the left half's last one
 * Returns a triangle near the last insertion.
 */
template<class It, class Ops>
Triangle2* insertMiddleFirst(It first, It last, Triangle2* pStartT, Ops& ops)
{
	while(last - first >= MIDDLE_FIRST_MIN_RANGE)
	{
		It half(first + (last - first) / 2);
		It mid(ops.runStart(first, half));
		if(mid == first)
		{
			// The whole left half is one run of equal keys: take the run in order.
			It runEnd(ops.runEnd(half, last));
			for(; first != runEnd; ++first) pStartT = ops.insert(first, pStartT);
			continue;
		}
		Triangle2* pMidT(ops.insert(mid, pStartT));
		Triangle2* pLeftEndT(insertMiddleFirst(first, mid, pMidT, ops));
		pStartT = ops.rightStart(mid, pMidT, pLeftEndT);
		first = mid + 1;
	}
	for(; first != last; ++first) pStartT = ops.insert(first, pStartT);
	return pStartT;
}

// ---- Fan steps around a corner v of pT ----

// The neighbour of pT counterclockwise around v (across the edge from v to the corner after it).
inline Triangle2* fanCcw(const Triangle2* pT, const Point2* v)
{
	return pT->getOppositeTriangle(nextIndex(pT->getIntraTriangleIndex(v)));
}
// The neighbour of pT clockwise around v.
inline Triangle2* fanCw(const Triangle2* pT, const Point2* v)
{
	return pT->getOppositeTriangle(prevIndex(pT->getIntraTriangleIndex(v)));
}
// Turns pT around v (clockwise or counterclockwise) to the last triangle
// before the border. False if the fan is closed; pT is the start again then.
inline bool rotateToFanEnd(const Point2* v, Triangle2*& pT, bool bClockwise)
{
	Triangle2* pStartT(pT);
	for(;;)
	{
		Triangle2* pNext(bClockwise ? fanCw(pT, v) : fanCcw(pT, v));
		if(pNext == nullptr) return true;
		if(pNext == pStartT) return false;
		pT = pNext;
	}
}
// Visits the fan of v from pFirstT counterclockwise and, where it is open,
// clockwise from pFirstT for the rest; fn(pT) returns true to stop. Returns
// the triangle fn stopped at, or null.
template<class Fn>
Triangle2* findInFan(const Point2* v, Triangle2* pFirstT, Fn fn)
{
	Triangle2* pT(pFirstT);
	do
	{
		if(fn(pT)) return pT;
		pT = fanCcw(pT, v);
	} while(pT != nullptr && pT != pFirstT);
	if(pT != nullptr) return nullptr;
	for(pT = fanCw(pFirstT, v); pT != nullptr; pT = fanCw(pT, v))
	{
		if(fn(pT)) return pT;
	}
	return nullptr;
}

} // namespace MeshSurgery
} // namespace MIREL25D
