// Differential tests against CGAL, the independent oracle, on random points
// and on inputs chosen to break a triangulation: cocircular sets with one-ulp
// perturbations, points on lines built in doubles, grids with a 1e9 offset,
// tight clusters, many duplicates, random insert/remove sequences, and
// constraints with and without crossings.
// Degenerate sets have many Delaunay triangulations, so the comparison is on
// what is unique: the vertex places and the edges that every (constrained)
// Delaunay triangulation of the set contains: hull edges, constraint edges,
// and edges whose two opposite vertices are not cocircular with them.
#include "test_support.h"
#include <CGAL/Constrained_Delaunay_triangulation_2.h>
#include <CGAL/Delaunay_triangulation_2.h>
#include <CGAL/Exact_predicates_exact_constructions_kernel.h>
#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <cstring>

using namespace MIREL25D;

namespace {
using Epick = CGAL::Exact_predicates_inexact_constructions_kernel;
using Epeck = CGAL::Exact_predicates_exact_constructions_kernel;
using CgalDelaunay = CGAL::Delaunay_triangulation_2<Epick>;
using CgalCdt = CGAL::Constrained_Delaunay_triangulation_2<Epick, CGAL::Default, CGAL::Exact_predicates_tag>;
using CgalExactCdt = CGAL::Constrained_Delaunay_triangulation_2<Epeck, CGAL::Default, CGAL::Exact_intersections_tag>;
using XY = std::pair<double, double>;
using EdgeKey = std::pair<XY, XY>;

EdgeKey edgeKey(XY a, XY b)
{
	return a < b ? EdgeKey(a, b) : EdgeKey(b, a);
}
XY xy(const Point2* p)
{
	return XY(p->x(), p->y());
}
double nearestDouble(double d)
{
	return d;
}
// The double nearest to an exact coordinate (ties to even), as the library
// rounds its constructed points.
double nearestDouble(const Epeck::FT& value)
{
	auto exact(CGAL::exact(value));
	std::pair<double, double> interval(CGAL::to_interval(exact));
	double lo(interval.first), hi(interval.second);
	if(lo == hi) return lo;
	decltype(exact) mid((decltype(exact)(lo) + decltype(exact)(hi)) / 2);
	if(exact < mid) return lo;
	if(mid < exact) return hi;
	uint64_t bits;
	std::memcpy(&bits, &lo, 8);
	return (bits & 1u) == 0 ? lo : hi;
}
template<class P>
XY xyOf(const P& p)
{
	return XY(nearestDouble(p.x()), nearestDouble(p.y()));
}

// The edges every (constrained) Delaunay triangulation of the set has.
std::set<EdgeKey> uniqueEdges(Mirel_2D& dt)
{
	std::vector<Triangle2*> vT;
	dt.getTrianglePointers(vT);
	std::set<EdgeKey> s;
	for(Triangle2* pT : vT)
		for(int i = 0; i < 3; ++i)
		{
			const Point2 *a(pT->getCorner((i + 1) % 3)), *b(pT->getCorner((i + 2) % 3));
			Triangle2* pN(pT->getOppositeTriangle(i));
			bool bUnique(pN == nullptr || dt.isConstraint(pT, i));
			if(!bUnique)
			{
				const Point2* d(pN->getCorner(pN->getIntraTriangleIndex(pT)));
				bUnique = mtest::exactInCircle(*pT->getCorner(0), *pT->getCorner(1), *pT->getCorner(2), *d) != 0;
			}
			if(bUnique) s.insert(edgeKey(xy(a), xy(b)));
		}
	return s;
}

template<class Tri>
std::set<EdgeKey> uniqueEdgesCgal(const Tri& t, bool bConstrained)
{
	std::set<EdgeKey> s;
	for(auto e = t.finite_edges_begin(); e != t.finite_edges_end(); ++e)
	{
		auto f(e->first);
		int i(e->second);
		auto g(f->neighbor(i));
		const auto& a(f->vertex(t.cw(i))->point());
		const auto& b(f->vertex(t.ccw(i))->point());
		bool bUnique(t.is_infinite(f) || t.is_infinite(g));
		if constexpr(!std::is_same<Tri, CgalDelaunay>::value)
		{
			if(bConstrained) bUnique = bUnique || t.is_constrained(*e);
		}
		if(!bUnique)
		{
			const auto& c(f->vertex(i)->point());
			const auto& d(g->vertex(g->index(f))->point());
			bUnique = CGAL::side_of_oriented_circle(a, b, c, d) != CGAL::ON_ORIENTED_BOUNDARY;
		}
		if(bUnique) s.insert(edgeKey(xyOf(a), xyOf(b)));
	}
	return s;
}

std::set<XY> places(Mirel_2D& dt)
{
	std::vector<Point2*> vVtx;
	dt.getVertexPointers(vVtx);
	std::set<XY> s;
	for(Point2* pV : vVtx) s.insert(xy(pV));
	return s;
}
template<class Tri>
std::set<XY> placesCgal(const Tri& t)
{
	std::set<XY> s;
	for(auto v = t.finite_vertices_begin(); v != t.finite_vertices_end(); ++v) s.insert(xyOf(v->point()));
	return s;
}

void compareDelaunay(Mirel_2D& dt, const CgalDelaunay& cgal, const std::string& what)
{
	ASSERT_TRUE(places(dt) == placesCgal(cgal)) << what;
	ASSERT_EQ(dt.numberOfTriangles(), size_t(cgal.dimension() == 2 ? cgal.number_of_faces() : 0)) << what;
	ASSERT_TRUE(uniqueEdges(dt) == uniqueEdgesCgal(cgal, false)) << what;
}

template<class Cdt>
Cdt cgalConstrained(const std::vector<Point2>& vPoints, const std::vector<Segment2>& vSegments)
{
	typedef typename Cdt::Geom_traits::Point_2 P;
	Cdt cdt;
	for(const Point2& p : vPoints) cdt.insert(P(p.x(), p.y()));
	for(const Segment2& s : vSegments) cdt.insert_constraint(P(s.getSrc().x(), s.getSrc().y()), P(s.getTrg().x(), s.getTrg().y()));
	return cdt;
}

// The hard sets, each about n points.
std::vector<std::pair<std::string, std::vector<Point2>>> adversarialSets(std::mt19937& rng, size_t n)
{
	std::vector<std::pair<std::string, std::vector<Point2>>> v;
	std::vector<Point2> vCircle(mtest::circlePoints(100, 1.0));
	v.push_back({"cocircular", vCircle});
	std::vector<Point2> vNudged(vCircle);
	for(Point2& p : vNudged)
	{
		double dir(rng() % 2 ? 1e308 : -1e308);
		p = rng() % 2 ? Point2(std::nextafter(p.x(), dir), p.y(), 0) : Point2(p.x(), std::nextafter(p.y(), dir), 0);
	}
	vNudged.insert(vNudged.end(), vCircle.begin(), vCircle.end());
	v.push_back({"cocircular with one-ulp neighbours", vNudged});
	std::vector<Point2> vLines;
	std::uniform_real_distribution<double> unit(0.0, 1.0);
	for(size_t i = 0; i < n; ++i)
	{
		double x(unit(rng) * 100.0);
		double slope(i % 3 == 0 ? 0.1 : (i % 3 == 1 ? 1.0 / 3.0 : -7.3));
		vLines.push_back(Point2(x, slope * x + 0.7 * double(i % 3), 0)); // rounded: near the line, rarely on it
	}
	v.push_back({"lines built in doubles", vLines});
	v.push_back({"grid with 1e9 offset", mtest::gridPoints(int(std::sqrt(double(n))), int(std::sqrt(double(n))), 0.25, 1e9)});
	v.push_back({"clusters", mtest::clusteredPoints(rng, n)});
	v.push_back({"many duplicates", mtest::withDuplicates(rng, mtest::gridPoints(20, 20, 1.0, -5.0))});
	v.push_back({"collinear runs", mtest::collinearRuns(rng, n)});
	// General position: every edge is unique, so the triangulations are equal.
	v.push_back({"uniform far from the origin", mtest::uniformPoints(rng, n, 1e6, 1e6 + 1.0)});
	return v;
}
} // namespace

TEST(CgalAdversarial, DelaunayOnDegenerateSets)
{
	std::mt19937 rng(21);
	for(size_t n : {size_t(300), size_t(3000)})
		for(const auto& set : adversarialSets(rng, n))
			for(int numCPU : {1, 2})
			{
				Mirel_2D dt(1000);
				dt.setNumCPU(numCPU);
				dt.insert(set.second);
				CgalDelaunay cgal;
				for(const Point2& p : set.second) cgal.insert(Epick::Point_2(p.x(), p.y()));
				compareDelaunay(dt, cgal, set.first + " n=" + std::to_string(n) + " cpu=" + std::to_string(numCPU));
			}
}

// Random insertions and removals on the same hard sets, compared after every step.
TEST(CgalAdversarial, RandomInsertRemoveSequences)
{
	std::mt19937 rng(22);
	for(const auto& set : adversarialSets(rng, 400))
	{
		Mirel_2D dt(500);
		CgalDelaunay cgal;
		std::map<XY, CgalDelaunay::Vertex_handle> mCgal;
		std::vector<Point2> vPool(set.second);
		std::shuffle(vPool.begin(), vPool.end(), rng);
		size_t next(0);
		for(int step = 0; step < 8; ++step)
		{
			// Insert a batch (or single points), then remove a random share.
			size_t numNew(std::min(vPool.size() - next, size_t(20 + rng() % 80)));
			std::vector<Point2> vBatch(vPool.begin() + long(next), vPool.begin() + long(next + numNew));
			next += numNew;
			if(step % 2 == 0) dt.insert(vBatch);
			else
				for(const Point2& p : vBatch) dt.insert(p);
			for(const Point2& p : vBatch)
			{
				auto h(cgal.insert(Epick::Point_2(p.x(), p.y())));
				mCgal[XY(p.x(), p.y())] = h;
			}
			std::vector<Point2*> vVtx;
			dt.getVertexPointers(vVtx);
			std::shuffle(vVtx.begin(), vVtx.end(), rng);
			for(size_t k = 0; k < vVtx.size() / 4; ++k)
			{
				XY place(xy(vVtx[k]));
				dt.remove(vVtx[k]);
				cgal.remove(mCgal[place]);
				mCgal.erase(place);
			}
			compareDelaunay(dt, cgal, set.first + " step " + std::to_string(step));
		}
	}
}

// Constraints that create no new points (along grid lines and diagonals,
// overlapping collinear pieces, duplicates): the constrained triangulations
// must agree on every unique edge.
TEST(CgalAdversarial, ConstrainedWithoutCrossings)
{
	std::mt19937 rng(23);
	for(double offset : {0.0, 1e9})
		for(int round = 0; round < 6; ++round)
		{
			std::vector<Point2> vGrid(mtest::gridPoints(12, 12, 0.5, offset));
			std::vector<Segment2> vSegments;
			auto at = [&](int i, int j) { return Point2(offset + 0.5 * i, offset + 0.5 * j, 0); };
			for(int k = 0; k < 8; ++k)
			{
				int i(rng() % 12), j(rng() % 12), len(std::min(1 + int(rng() % 6), 11 - std::max(i, j)));
				if(len < 1) continue;
				// On a grid line (overlapping others), or diagonally through grid
				// points: every crossing is a grid point.
				if(k % 2 == 0) vSegments.push_back(Segment2(at(i, j), at(i + len, j)));
				else vSegments.push_back(Segment2(at(i, j), at(i + len, j + len)));
			}
			if(vSegments.empty()) continue;
			vSegments.push_back(vSegments.front()); // a duplicate
			Mirel_2D dt(200);
			dt.insert(vGrid);
			dt.createConstraint(vSegments, CIS_CONSTRAINED_DELAUNAY);
			CgalCdt cgal(cgalConstrained<CgalCdt>(vGrid, vSegments));
			ASSERT_TRUE(places(dt) == placesCgal(cgal));
			ASSERT_TRUE(uniqueEdges(dt) == uniqueEdgesCgal(cgal, true)) << "offset " << offset << " round " << round;
		}
}

// Crossing constraints against CGAL's exact-intersection triangulation: the
// same number of vertices, and every constrained edge of CGAL (its exact
// crossing points rounded to the nearest doubles) is a constraint edge here.
TEST(CgalAdversarial, ConstrainedCrossingsAgainstExactIntersections)
{
	std::mt19937 rng(24);
	std::uniform_real_distribution<double> unit(0.0, 100.0);
	for(int round = 0; round < 10; ++round)
	{
		std::vector<Point2> vPoints(mtest::uniformPoints(rng, 200, 0.0, 100.0));
		std::vector<Segment2> vSegments;
		for(int k = 0; k < 12; ++k) vSegments.push_back(Segment2(Point2(unit(rng), unit(rng), 0), Point2(unit(rng), unit(rng), 0)));
		Mirel_2D dt(300);
		dt.insert(vPoints);
		dt.createConstraint(vSegments, CIS_CONSTRAINED_DELAUNAY);
		CgalExactCdt cgal(cgalConstrained<CgalExactCdt>(vPoints, vSegments));
		ASSERT_EQ(dt.numberOfPoints(), cgal.number_of_vertices()) << round;
		std::vector<Point2*> vVtx;
		dt.getVertexPointers(vVtx);
		std::map<XY, Point2*> mVtx;
		for(Point2* pV : vVtx) mVtx[xy(pV)] = pV;
		size_t numCgalConstrained(0);
		for(auto e = cgal.finite_edges_begin(); e != cgal.finite_edges_end(); ++e)
		{
			if(!cgal.is_constrained(*e)) continue;
			++numCgalConstrained;
			XY a(xyOf(e->first->vertex(cgal.cw(e->second))->point())), b(xyOf(e->first->vertex(cgal.ccw(e->second))->point()));
			ASSERT_TRUE(mVtx.count(a) && mVtx.count(b)) << "a crossing rounded elsewhere, round " << round;
			EXPECT_TRUE(dt.isConstraint(mVtx[a], mVtx[b])) << round;
		}
		std::vector<ConstraintSegment2*> vAlive;
		dt.getAliveConstraintSegments(vAlive);
		EXPECT_EQ(vAlive.size(), numCgalConstrained) << round;
	}
}
