// Vertex removal: the umbrella of the vertex is cut out and its link
// polygon triangulated again (Delaunay ears, then Lawson flips); split off
// from Dt2.cpp, whose unit name its banners keep.
#define MIREL_BANNER_FILE "Dt2.cpp"
#include "Dt2.h"
#include "MeshSurgery.h"
#include "Visualizer2.h"
#include "tools.h"
#include <string>

namespace MIREL25D {

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
	RemovalWork& rw(removalWork);
	bool bClosed(collectUmbrella(v));
	rw.numUmbrellaT = rw.vUmbrellaT.size();
	rw.numRemovalSteps = 0;
	rw.maxRemovalSteps = 1000 + 10 * rw.numUmbrellaT * rw.numUmbrellaT;
	rw.vHoleT.clear();

	// Until the hole is filled, the link vertices hold on to the outer triangles.
	for(Point2* pLinkVtx : rw.vHoleVtx) pLinkVtx->setIncidentTriangle(nullptr);
	for(const HoleEdge& outer : rw.vHoleEdge)
	{
		if(outer.pOuterT == nullptr) continue;
		outer.pOuterT->getCorner(nextIndex(outer.idx))->setIncidentTriangle(outer.pOuterT);
		outer.pOuterT->getCorner(prevIndex(outer.idx))->setIncidentTriangle(outer.pOuterT);
	}
	v->setIncidentTriangle(nullptr);

	if(bClosed)
	{
		rw.vPolyVtx.assign(rw.vHoleVtx.begin(), rw.vHoleVtx.end());
		rw.vPolyEdge.assign(rw.vHoleEdge.begin(), rw.vHoleEdge.end());
		triangulatePolygon();
	}
	else
	{
		// The link points are sorted by angle around v: a Graham scan gives the
		// new hull chain (collinear points stay on it, they become hull vertices).
		rw.vHullChain.clear();
		for(size_t i = 0; i < rw.vHoleVtx.size(); ++i)
		{
			while(rw.vHullChain.size() >= 2 &&
				  geomTest.getOrientation2(rw.vHoleVtx[rw.vHullChain[rw.vHullChain.size() - 2]], rw.vHoleVtx[rw.vHullChain.back()], rw.vHoleVtx[i]) == ORIENTATION2_CCW)
			{
				rw.vHullChain.pop_back();
			}
			rw.vHullChain.push_back(i);
		}
		for(size_t c = 0; c + 1 < rw.vHullChain.size(); ++c)
		{
			size_t a(rw.vHullChain[c]), b(rw.vHullChain[c + 1]);
			if(b == a + 1)
			{
				// The link edge itself is now a hull edge.
				const HoleEdge& outer(rw.vHoleEdge[a]);
				if(outer.pOuterT != nullptr) outer.pOuterT->setOppTriangle(outer.idx, nullptr);
				continue;
			}
			rw.vPolyVtx.assign(rw.vHoleVtx.begin() + a, rw.vHoleVtx.begin() + b + 1);
			rw.vPolyEdge.assign(rw.vHoleEdge.begin() + a, rw.vHoleEdge.begin() + b);
			rw.vPolyEdge.push_back(HoleEdge{nullptr, -1}); // the new hull edge p_b -> p_a
			triangulatePolygon();
		}
	}
	for(Triangle2* pT : rw.vUmbrellaT) releaseTriangle(pT); // those not reused
	rw.vUmbrellaT.clear();
	legalizeHole();
}

bool Dt2::collectUmbrella(Point2* v)
{
	RemovalWork& rw(removalWork);
	rw.vUmbrellaT.clear();
	rw.vHoleVtx.clear();
	rw.vHoleEdge.clear();
	// For a hull vertex, start at the clockwise end of the fan.
	Triangle2* pT(v->getIncidentTriangle());
	bool bClosed(!MeshSurgery::rotateToFanEnd(v, pT, true));
	Triangle2* pStartT(pT);
	for(;;)
	{
		int i(pT->getIntraTriangleIndex(v));
		rw.vUmbrellaT.push_back(pT);
		rw.vHoleVtx.push_back(pT->getCorner(nextIndex(i)));
		Triangle2* pOuterT(pT->getOppositeTriangle(i));
		rw.vHoleEdge.push_back(HoleEdge{pOuterT, pOuterT == nullptr ? -1 : pOuterT->getIntraTriangleIndex(pT)});
		Triangle2* pCcwT(MeshSurgery::fanCcw(pT, v));
		if(pCcwT == nullptr)
		{
			rw.vHoleVtx.push_back(pT->getCorner(prevIndex(i)));
			break;
		}
		if(pCcwT == pStartT) break;
		pT = pCcwT;
		const std::vector<Triangle2*>& vUmbrellaT(rw.vUmbrellaT);
		MIREL_ASSERT(vUmbrellaT.size()<=2*vertexVault.size());
	}
	return bClosed;
}

void Dt2::triangulatePolygon()
{
	RemovalWork& rw(removalWork);
	while(rw.vPolyVtx.size() > 3)
	{
		size_t n(rw.vPolyVtx.size());
		size_t j(findEar(true));
		if(j == n) j = findEar(false);
		if(j == n) rw.numRemovalSteps = rw.maxRemovalSteps; // no ear at all: a broken invariant
		countRemovalStep();
		size_t ia(j == 0 ? n - 1 : j - 1), ic(j + 1 == n ? 0 : j + 1);
		Triangle2* pT(makeHoleTriangle(rw.vPolyVtx[ia], rw.vPolyVtx[j], rw.vPolyVtx[ic]));
		linkAcross(pT, 2, rw.vPolyEdge[ia]);
		linkAcross(pT, 0, rw.vPolyEdge[j]);
		rw.vPolyEdge[ia] = HoleEdge{pT, 1}; // the polygon goes on along a -> c
		rw.vPolyVtx.erase(rw.vPolyVtx.begin() + long(j));
		rw.vPolyEdge.erase(rw.vPolyEdge.begin() + long(j));
	}
	if(geomTest.getOrientation2(rw.vPolyVtx[0], rw.vPolyVtx[1], rw.vPolyVtx[2]) != ORIENTATION2_CCW) rw.numRemovalSteps = rw.maxRemovalSteps;
	countRemovalStep();
	Triangle2* pT(makeHoleTriangle(rw.vPolyVtx[0], rw.vPolyVtx[1], rw.vPolyVtx[2]));
	linkAcross(pT, 2, rw.vPolyEdge[0]);
	linkAcross(pT, 0, rw.vPolyEdge[1]);
	linkAcross(pT, 1, rw.vPolyEdge[2]);
}

// An ear (a, b, c) at position j: a strict left turn, and no other polygon
// vertex in its closed triangle (the polygon is simple, so ac is a diagonal).
// A Delaunay ear has no other polygon vertex strictly inside its circumcircle,
// which covers the closed triangle except its corners.
size_t Dt2::findEar(bool bDelaunayEar)
{
	RemovalWork& rw(removalWork);
	size_t n(rw.vPolyVtx.size());
	for(size_t j = 0; j < n; ++j)
	{
		countRemovalStep();
		size_t ia(j == 0 ? n - 1 : j - 1), ic(j + 1 == n ? 0 : j + 1);
		Point2* a(rw.vPolyVtx[ia]);
		Point2* b(rw.vPolyVtx[j]);
		Point2* c(rw.vPolyVtx[ic]);
		if(geomTest.getOrientation2(a, b, c) != ORIENTATION2_CCW) continue;
		Triangle2 ear(a, b, c);
		bool bEar(true);
		for(size_t k = 0; k < n && bEar; ++k)
		{
			if(k == ia || k == j || k == ic) continue;
			const Point2* w(rw.vPolyVtx[k]);
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
	RemovalWork& rw(removalWork);
	Triangle2* pT(nullptr);
	if(!rw.vUmbrellaT.empty())
	{
		pT = rw.vUmbrellaT.back();
		rw.vUmbrellaT.pop_back();
	}
	else pT = newTriangle();
	pT->setProperties(a, b, c);
	rw.vHoleT.push_back(pT);
	return pT;
}

void Dt2::linkAcross(Triangle2* pT, int i, const HoleEdge& outer)
{
	pT->setOppTriangle(i, outer.pOuterT);
	if(outer.pOuterT != nullptr) outer.pOuterT->setOppTriangle(outer.idx, pT);
}

void Dt2::legalizeHole()
{
	RemovalWork& rw(removalWork);
	rw.vHoleFlipStack.clear();
	for(Triangle2* pT : rw.vHoleT)
	{
		for(int i = 0; i < 3; ++i) rw.vHoleFlipStack.push_back(std::make_pair(pT, i));
	}
	while(!rw.vHoleFlipStack.empty())
	{
		Triangle2* a(rw.vHoleFlipStack.back().first);
		int i(rw.vHoleFlipStack.back().second);
		rw.vHoleFlipStack.pop_back();
		Triangle2* b(a->getOppositeTriangle(i));
		if(b == nullptr) continue;
		if(geomTest.circleInc3state(a, b->getCorner(b->getIntraTriangleIndex(a))) != CINC2_INCIRCLE) continue;
		if(bConstraintsExist && isFlipLocked(a, i)) continue; // constraint edges stay
		countRemovalStep();
		MeshSurgery::flip(a, i);
		// The four outer edges of the flipped quadrilateral.
		rw.vHoleFlipStack.push_back(std::make_pair(a, 0));
		rw.vHoleFlipStack.push_back(std::make_pair(a, 2));
		rw.vHoleFlipStack.push_back(std::make_pair(b, 0));
		rw.vHoleFlipStack.push_back(std::make_pair(b, 1));
	}
}

void Dt2::countRemovalStep()
{
	RemovalWork& rw(removalWork);
	if(++rw.numRemovalSteps <= rw.maxRemovalSteps) return;
	Visualizer2 vis("watchDogFailed.ps");
	vis.addObject(rw.vHoleT, Color(CGREEN));
	vis.addObject(rw.vHoleVtx, Color(CBLACK));
	vis.addObject(rw.vPolyVtx, Color(CRED));
	vis.writeFile();
	sendRawText("vUmbrellaT.size()=" + std::to_string(rw.numUmbrellaT) + "\n");
	const size_t numRemovalSteps(rw.numRemovalSteps), maxRemovalSteps(rw.maxRemovalSteps);
	MIREL_ASSERT(numRemovalSteps<=maxRemovalSteps);
}

void Dt2::dropToLowerDimension()
{
	std::vector<Point2*> vVertices;
	vertexVault.getActiveVertices(vVertices);
	for(Point2* pVtx : vVertices) pVtx->setIncidentTriangle(nullptr);
	vertexVault.clearFullDimensional();
}

} // namespace MIREL25D
