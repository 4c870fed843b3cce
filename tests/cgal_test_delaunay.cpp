// Differential test: for points in general position the Delaunay triangulation
// is unique, so the triangles must equal those of CGAL's exact-predicate
// Delaunay triangulation, also after removals.
#include "test_support.h"
#include <CGAL/Delaunay_triangulation_2.h>
#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>

using namespace MIREL25D;

namespace {

using Kernel = CGAL::Exact_predicates_inexact_constructions_kernel;
using CgalDelaunay = CGAL::Delaunay_triangulation_2<Kernel>;
using mtest::TriangleKey;
using mtest::triangleKeys;

std::set<TriangleKey> cgalTriangles(const CgalDelaunay& cgal)
{
	std::set<TriangleKey> s;
	for(auto f = cgal.finite_faces_begin(); f != cgal.finite_faces_end(); ++f)
	{
		const auto& a(f->vertex(0)->point());
		const auto& b(f->vertex(1)->point());
		const auto& c(f->vertex(2)->point());
		s.insert(mtest::triangleKey({a.x(), a.y()}, {b.x(), b.y()}, {c.x(), c.y()}));
	}
	return s;
}

TEST(CgalDelaunay, SameTrianglesAsCgal)
{
	std::mt19937 rng(7);
	for(size_t n : {10u, 1000u, 20000u})
	{
		for(double offset : {0.0, 1e6})
		{
			std::vector<Point2> v(mtest::uniformPoints(rng, n, offset, offset + 1.0));
			Mirel_2D dt(static_cast<unsigned>(n));
			dt.insert(v);
			CgalDelaunay cgal;
			for(const Point2& p : v) cgal.insert(Kernel::Point_2(p.x(), p.y()));
			std::set<TriangleKey> sMirel(triangleKeys(dt));
			ASSERT_EQ(sMirel.size(), cgal.number_of_faces()) << n;
			ASSERT_TRUE(sMirel == cgalTriangles(cgal)) << n << " " << offset;
		}
	}
}

TEST(CgalDelaunay, SameTrianglesAfterRemovals)
{
	std::mt19937 rng(8);
	std::vector<Point2> v(mtest::uniformPoints(rng, 3000, 0.0, 1.0));
	Mirel_2D dt(3000);
	std::vector<Point2*> vHandles;
	dt.insert(v, vHandles);
	CgalDelaunay cgal;
	std::vector<CgalDelaunay::Vertex_handle> vCgalHandles;
	for(const Point2& p : v) vCgalHandles.push_back(cgal.insert(Kernel::Point_2(p.x(), p.y())));
	// Every third point, hull vertices among them.
	for(size_t i = 0; i < v.size(); i += 3)
	{
		dt.remove(vHandles[i]);
		cgal.remove(vCgalHandles[i]);
	}
	ASSERT_TRUE(triangleKeys(dt) == cgalTriangles(cgal));
}

} // namespace
