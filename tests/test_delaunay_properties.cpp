// Properties of the triangulation checked by a validator of its own (exact
// rational predicates, no library predicate): counterclockwise triangles,
// mutual neighbour links, valid incident triangles, the exact empty-circle
// property, the count 2n-2-h and the handles; over random and degenerate
// batches, after removals down to the last vertices, and for the queries.
#include "test_support.h"
#include <cmath>

using namespace MIREL25D;

namespace {
using namespace mtest;

void triangulateAndValidate(const std::vector<Point2>& vPoints)
{
	Mirel_2D dt(static_cast<unsigned>(vPoints.size()));
	std::vector<Point2*> vHandles;
	dt.insert(vPoints, vHandles);
	checkHandles(vPoints, vHandles);
	validate(dt, vPoints);
}

// ---------------------------------------------------------------------------

// One sweep over the coordinate scales callers use, 1e-9 to 1e9: random and
// gridded batches, near the origin and far from it (large offset, small spread),
// then removal of every third vertex.
TEST(DelaunayProperties, ScaleSweepFromOneBillionthToOneBillion)
{
	std::mt19937 rng(10);
	for(double scale = 1e-9; scale < 2e9; scale *= 1e3)
	{
		SCOPED_TRACE(scale);
		std::vector<Point2> vSets[] = {uniformPoints(rng, 600, -scale, scale), uniformPoints(rng, 600, 1e3 * scale, 1e3 * scale + scale / 64),
			gridPoints(15, 15, scale / 8, 0.0), gridPoints(12, 12, scale / 8, 1e3 * scale), withDuplicates(rng, uniformPoints(rng, 200, 0.0, scale))};
		for(const std::vector<Point2>& vPoints : vSets)
		{
			Mirel_2D dt(static_cast<unsigned>(vPoints.size()));
			std::vector<Point2*> vHandles;
			dt.insert(vPoints, vHandles);
			checkHandles(vPoints, vHandles);
			validate(dt, vPoints);
			std::vector<Point2*> vVtx;
			dt.getVertexPointers(vVtx);
			std::vector<Point2> vKept;
			for(size_t i = 0; i < vVtx.size(); ++i)
			{
				if(i % 3 == 0) dt.remove(vVtx[i]);
				else vKept.push_back(*vVtx[i]);
			}
			validate(dt, vKept);
			if(HasFatalFailure()) return;
		}
	}
}

TEST(DelaunayProperties, RandomAndDegenerateBatches)
{
	std::mt19937 rng(12);
	for(size_t n : {3u, 4u, 10u, 2000u}) triangulateAndValidate(uniformPoints(rng, n, 0.0, 1.0));
	triangulateAndValidate(clusteredPoints(rng, 2000));
	triangulateAndValidate(gridPoints(30, 30, 1.0, 0.0));
	std::vector<Point2> vCircle(circlePoints(64, 2.0));
	triangulateAndValidate(vCircle);
	vCircle.push_back(Point2(0, 0, 9)); // the common centre
	triangulateAndValidate(vCircle);
	triangulateAndValidate(collinearRuns(rng, 300));
	triangulateAndValidate(withDuplicates(rng, gridPoints(12, 12, 1.0, 0.0)));
	triangulateAndValidate(withDuplicates(rng, uniformPoints(rng, 500, -1.0, 1.0)));
	// All collinear, then all at one place: no triangle.
	triangulateAndValidate(std::vector<Point2>{Point2(0, 0, 1), Point2(1, 1, 2), Point2(2, 2, 3), Point2(1, 1, 4)});
	triangulateAndValidate(std::vector<Point2>(5, Point2(3, 3, 3)));
}

// ---------------------------------------------------------------------------
// Removal

// Removes the vertex at vPlaces[idx] (found through locate and the triangle's
// corners) and keeps vPlaces in step.
void removePlace(Mirel_2D& dt, std::vector<Point2>& vPlaces, size_t idx)
{
	Triangle2* pT(dt.locate(vPlaces[idx]));
	ASSERT_NE(pT, nullptr);
	Point2* pVtx(nullptr);
	for(int i = 0; i < 3; ++i)
		if(*pT->getCorner(i) == vPlaces[idx]) pVtx = pT->getCorner(i);
	ASSERT_NE(pVtx, nullptr);
	dt.remove(pVtx);
	vPlaces.erase(vPlaces.begin() + long(idx));
}

std::vector<Point2> distinctPlaces(const std::vector<Point2>& v)
{
	std::set<Point2> s(v.begin(), v.end());
	return std::vector<Point2>(s.begin(), s.end());
}

TEST(DelaunayProperties, RemovingHullVerticesAndAllButAFew)
{
	std::mt19937 rng(22);
	for(int kind = 0; kind < 2; ++kind)
	{
		Mirel_2D dt(100);
		std::vector<Point2> vPlaces(kind == 0 ? uniformPoints(rng, 300, -1.0, 1.0) : gridPoints(12, 12, 1.0, 0.0));
		dt.insert(vPlaces);
		vPlaces = distinctPlaces(vPlaces);
		// Peel the hull (collinear hull vertices included) several times.
		for(int layer = 0; layer < 4; ++layer)
		{
			std::vector<Point2*> vHull;
			dt.getConvexHull(true, vHull);
			std::vector<Point2> vHullPlaces;
			for(Point2* p : vHull) vHullPlaces.push_back(*p);
			for(size_t k = 0; k < vHullPlaces.size(); k += 2)
			{
				auto it(std::find(vPlaces.begin(), vPlaces.end(), vHullPlaces[k]));
				ASSERT_NE(it, vPlaces.end());
				removePlace(dt, vPlaces, size_t(it - vPlaces.begin()));
			}
			validate(dt, vPlaces);
		}
		// Down to three, then two (no triangle left), then insertion starts over.
		while(vPlaces.size() > 2)
		{
			std::uniform_int_distribution<size_t> pick(0, vPlaces.size() - 1);
			removePlace(dt, vPlaces, pick(rng));
			if(vPlaces.size() < 12) validate(dt, vPlaces);
		}
		std::vector<Point2*> vLeft;
		dt.getVertexPointers(vLeft);
		ASSERT_EQ(vLeft.size(), 2u);
		dt.remove(vLeft[0]);
		vPlaces.erase(std::find(vPlaces.begin(), vPlaces.end(), *vLeft[0]));
		validate(dt, vPlaces);
		std::vector<Point2> vNew(uniformPoints(rng, 50, 5.0, 6.0));
		dt.insert(vNew);
		vPlaces.insert(vPlaces.end(), vNew.begin(), vNew.end());
		validate(dt, vPlaces);
	}
}

// ---------------------------------------------------------------------------
// Queries

TEST(DelaunayProperties, LocateOnHullAndJustOutside)
{
	Mirel_2D dt(10);
	EXPECT_EQ(dt.locate(Point2(0, 0, 0)), nullptr); // no triangle yet
	std::vector<Point2> v(gridPoints(5, 5, 1.0, 0.0));
	dt.insert(v);
	for(double t : {0.0, 0.5, 1.5, 4.0})
	{
		Triangle2* pT(dt.locate(Point2(t, 0.0, 0.0)));
		ASSERT_NE(pT, nullptr) << t;
		EXPECT_GE(exactOrientation(*pT->getCorner(0), *pT->getCorner(1), Point2(t, 0.0, 0.0)), 0);
		EXPECT_EQ(dt.locate(Point2(t, std::nextafter(0.0, -1.0), 0.0)), nullptr) << t;
		EXPECT_EQ(dt.locate(Point2(std::nextafter(4.0, 5.0), t, 0.0)), nullptr) << t;
	}
	EXPECT_EQ(dt.locate(Point2(5.0, 0.0, 0.0)), nullptr); // on the hull line beyond its end
	EXPECT_EQ(dt.locate(Point2(1e300, -1e300, 0.0)), nullptr); // far outside: the range widens
	// Strictly inside: every located triangle contains the point (closed).
	std::mt19937 rng(31);
	std::uniform_real_distribution<double> d(0.0, 4.0);
	for(int i = 0; i < 200; ++i)
	{
		Point2 q(d(rng), d(rng), 0.0);
		Triangle2* pT(dt.locate(q));
		ASSERT_NE(pT, nullptr);
		for(int k = 0; k < 3; ++k) ASSERT_GE(exactOrientation(*pT->getCorner(nextIndex(k)), *pT->getCorner(prevIndex(k)), q), 0);
	}
}

TEST(DelaunayProperties, AdjacencyIncidenceAndHull)
{
	std::mt19937 rng(41);
	std::vector<Point2> v(uniformPoints(rng, 300, 0.0, 1.0));
	std::vector<Point2> vGrid(gridPoints(6, 6, 1.0, 10.0)); // a straight hull with collinear vertices
	for(const std::vector<Point2>* pSet : {&v, &vGrid})
	{
		Mirel_2D dt(100);
		dt.insert(*pSet);
		std::vector<Triangle2*> vT;
		dt.getTrianglePointers(vT);
		std::map<Point2*, size_t> mDegreeT;
		for(Triangle2* pT : vT)
		{
			for(int i = 0; i < 3; ++i)
			{
				Point2* a(pT->getCorner(nextIndex(i)));
				Point2* b(pT->getCorner(prevIndex(i)));
				EXPECT_EQ(dt.getAdjacentTriangle(a, b), pT);
				EXPECT_EQ(dt.getAdjacentTriangle(b, a), pT->getOppositeTriangle(i)); // null on the hull
				++mDegreeT[pT->getCorner(i)];
			}
		}
		for(auto& entry : mDegreeT)
		{
			Point2* pVtx(entry.first);
			std::vector<Triangle2*> vInc;
			dt.getIncidentTriangles(pVtx, vInc);
			std::set<Triangle2*> sInc(vInc.begin(), vInc.end());
			ASSERT_EQ(vInc.size(), entry.second);
			ASSERT_EQ(sInc.size(), entry.second); // each once, hull vertices included
			ASSERT_EQ(vInc[0], pVtx->getIncidentTriangle());
			for(Triangle2* pT : vInc) ASSERT_TRUE(pT->hasVertex(pVtx));
			std::vector<Point2*> vNeigh;
			dt.getIncidentVertices(pVtx, vNeigh);
			std::set<Point2*> sNeigh(vNeigh.begin(), vNeigh.end());
			ASSERT_EQ(sNeigh.size(), vNeigh.size());
			for(Point2* q : vNeigh) ASSERT_TRUE(dt.getAdjacentTriangle(pVtx, q) != nullptr || dt.getAdjacentTriangle(q, pVtx) != nullptr);
			// Interior vertices have as many neighbours as triangles, hull ones one more.
			ASSERT_TRUE(vNeigh.size() == entry.second || vNeigh.size() == entry.second + 1);
		}
		std::vector<Point2*> vAll, vCorners;
		dt.getConvexHull(true, vAll);
		dt.getConvexHull(false, vCorners);
		ASSERT_EQ(vAll.size(), countHullPlaces(*pSet));
		// Consecutive hull vertices are hull edges (counterclockwise: triangle on the left).
		for(size_t k = 0, m(vAll.size()); k < m; ++k)
			EXPECT_TRUE(dt.getAdjacentTriangle(vAll[k], vAll[(k + 1) % m]) != nullptr && dt.getAdjacentTriangle(vAll[(k + 1) % m], vAll[k]) == nullptr);
		for(size_t k = 0, m(vCorners.size()); k < m; ++k) EXPECT_EQ(exactOrientation(*vCorners[(k + m - 1) % m], *vCorners[k], *vCorners[(k + 1) % m]), 1);
		if(pSet == &vGrid)
		{
			EXPECT_EQ(vCorners.size(), 4u);
		}
	}
}

} // namespace
