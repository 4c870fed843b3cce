#include "MeshSurgery.h"

namespace MIREL25D {
namespace MeshSurgery {

/*
 * After flip(a, 0)
 *   a = (v, c1, d) with neighbours (nBF, b, nA2),
 *   b = (v, d, c2) with neighbours (nBP, nA1, a);
 * before it a = (v, c1, c2) with neighbours (b, nA1, nA2) and b = (d, c2, c1)
 * with neighbours (a, nBF, nBP).
 */
void unflip(Triangle2* a)
{
	Triangle2* b(a->getOppositeTriangle(1));
	Point2* v(a->getCorner(0));
	Point2* c1(a->getCorner(1));
	Point2* d(a->getCorner(2));
	Point2* c2(b->getCorner(2));
	Triangle2* nBF(a->getOppositeTriangle(0));
	Triangle2* nA2(a->getOppositeTriangle(2));
	Triangle2* nBP(b->getOppositeTriangle(0));
	Triangle2* nA1(b->getOppositeTriangle(1));
	*a = Triangle2(v, c1, c2, b, nA1, nA2);
	*b = Triangle2(d, c2, c1, a, nBF, nBP);
	if(nBF != nullptr) nBF->setOppTriangle(nBF->getIntraTriangleIndex(a), b);
	if(nA1 != nullptr) nA1->setOppTriangle(nA1->getIntraTriangleIndex(b), a);
}

// t = (v, c0, c1), pA = (v, c1, c2), pB = (v, c2, c0) back to t = (c0, c1, c2).
void unsplit13(Point2* v, Triangle2* t)
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
}

// t = (v, ce, ce1), u = (v, ce1, d), pNew1 = (v, d, ce2), pNew2 = (v, ce2, ce)
// back to t = (ce, ce1, ce2) and u = (d, ce2, ce1).
void unsplit24(Point2* v, Triangle2* t, Triangle2* u)
{
	Triangle2* pNew1(u->getOppositeTriangle(1));
	Triangle2* pNew2(t->getOppositeTriangle(2));
	Point2* ce(t->getCorner(1));
	Point2* ce1(t->getCorner(2));
	Point2* d(u->getCorner(2));
	Point2* ce2(pNew1->getCorner(2));
	Triangle2* pOutT2(t->getOppositeTriangle(0));
	Triangle2* pOutU1(u->getOppositeTriangle(0));
	Triangle2* pOutU2(pNew1->getOppositeTriangle(0));
	Triangle2* pOutT1(pNew2->getOppositeTriangle(0));
	t->setPropertiesAndOppT(ce, ce1, ce2, u, pOutT1, pOutT2);
	u->setPropertiesAndOppT(d, ce2, ce1, t, pOutU1, pOutU2);
	if(pOutT1 != nullptr) pOutT1->setOppTriangle(pOutT1->getIntraTriangleIndex(pNew2), t);
	if(pOutU2 != nullptr) pOutU2->setOppTriangle(pOutU2->getIntraTriangleIndex(pNew1), u);
	v->setIncidentTriangle(nullptr);
}

} // namespace MeshSurgery
} // namespace MIREL25D
