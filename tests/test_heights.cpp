// Heights checked against an independent exact oracle: the containing triangle
// is found by brute force with rational orientations, and the plane value is
// computed in rationals by barycentric weights (a different formula from the
// library's), so each answer is compared with the true interpolation.
#include "Dt2.h"
#include "test_support.h"
#include <iomanip>
#include <limits>

using namespace MIREL25D;
using mtest::filteredOrientation;

namespace {

struct ExactHeight
{
	bool bFound;
	mpq_class z;
	double minZ, maxZ;
};

// The exact plane value at (x, y) in some closed triangle that contains it.
ExactHeight exactHeightAt(const std::vector<Triangle2*>& vT, double x, double y)
{
	Point2 q(x, y, 0.0);
	for(const Triangle2* pT : vT)
	{
		const Point2& a(*pT->getCorner(0));
		const Point2& b(*pT->getCorner(1));
		const Point2& c(*pT->getCorner(2));
		if(filteredOrientation(a, b, q) < 0 || filteredOrientation(b, c, q) < 0 || filteredOrientation(c, a, q) < 0) continue;
		mpq_class ax(a.x()), ay(a.y()), bx(b.x()), by(b.y()), cx(c.x()), cy(c.y()), qx(x), qy(y);
		mpq_class area((bx - ax) * (cy - ay) - (by - ay) * (cx - ax));
		mpq_class wa((bx - qx) * (cy - qy) - (by - qy) * (cx - qx));
		mpq_class wb((cx - qx) * (ay - qy) - (cy - qy) * (ax - qx));
		mpq_class wc((ax - qx) * (by - qy) - (ay - qy) * (bx - qx));
		mpq_class z((wa * mpq_class(a.z()) + wb * mpq_class(b.z()) + wc * mpq_class(c.z())) / area);
		return ExactHeight{true, z, std::min({a.z(), b.z(), c.z()}), std::max({a.z(), b.z(), c.z()})};
	}
	return ExactHeight{false, mpq_class(0), 0.0, 0.0};
}

// The double nearest to q (GMP's own conversion truncates).
double nearestDouble(const mpq_class& q)
{
	double d(q.get_d());
	double other(std::nextafter(d, sgn(q) < 0 ? -std::numeric_limits<double>::infinity() : std::numeric_limits<double>::infinity()));
	mpq_class errD(abs(q - mpq_class(d))), errOther(abs(q - mpq_class(other)));
	return errOther < errD ? other : d;
}

std::vector<Point2> randomTerrain(std::mt19937& rng, size_t n, double xyRange, double zRange)
{
	std::uniform_real_distribution<double> dxy(0.0, xyRange), dz(-zRange, zRange);
	std::vector<Point2> v;
	for(size_t i = 0; i < n; ++i) v.push_back(Point2(dxy(rng), dxy(rng), dz(rng)));
	// Corners of the box, so that the hull is the box.
	v.push_back(Point2(0, 0, dz(rng)));
	v.push_back(Point2(xyRange, 0, dz(rng)));
	v.push_back(Point2(xyRange, xyRange, dz(rng)));
	v.push_back(Point2(0, xyRange, dz(rng)));
	return v;
}

// Compares every query in [lo, lo + xyRange]^2 with the exact value: within
// the corner heights always; equal to the correctly rounded exact value when
// absTol is 0 (steep triangles), else within rounding plus absTol.
void checkQueries(Mirel_2D& dt, std::mt19937& rng, double lo, double xyRange, size_t numQueries, double absTol)
{
	std::vector<Triangle2*> vT;
	dt.getTrianglePointers(vT);
	std::uniform_real_distribution<double> d(lo, lo + xyRange);
	for(size_t i = 0; i < numQueries; ++i)
	{
		double x(d(rng)), y(d(rng));
		if(i % 7 == 0) x = std::floor(x); // lines of queries that hit edges and vertices more often
		double h(std::numeric_limits<double>::quiet_NaN());
		// Every other query starts its walk at some triangle of the mesh.
		ASSERT_TRUE(dt.getHeight(x, y, h, i % 2 == 0 ? nullptr : vT[i % vT.size()])) << x << " " << y;
		ExactHeight e(exactHeightAt(vT, x, y));
		ASSERT_TRUE(e.bFound);
		ASSERT_GE(h, e.minZ);
		ASSERT_LE(h, e.maxZ);
		if(absTol == 0.0)
		{
			ASSERT_EQ(h, nearestDouble(e.z)) << std::setprecision(17) << x << " " << y << " " << h << " " << e.z.get_d() << " " << e.minZ << " " << e.maxZ;
		}
		else ASSERT_NEAR(h, e.z.get_d(), 1e-12 * (e.maxZ - e.minZ) + 1e-15 * std::fabs(e.maxZ) + absTol) << x << " " << y;
	}
}

TEST(Heights, MatchExactInterpolationOnRandomTerrains)
{
	std::mt19937 rng(4711);
	{
		Mirel_2D dt(500);
		dt.insert(randomTerrain(rng, 500, 100.0, 20.0));
		checkQueries(dt, rng, 0.0, 100.0, 400, 1e-300);
	}
	// Cliffs: a small footprint with kilometres of height difference makes every
	// triangle almost vertical, where only the exact plane is trusted.
	{
		Mirel_2D dt(300);
		dt.insert(randomTerrain(rng, 300, 1.0, 1e7));
		checkQueries(dt, rng, 0.0, 1.0, 300, 0.0);
	}
	// Far from the origin, where the double formula cancels most.
	{
		Mirel_2D dt(300);
		std::vector<Point2> v(randomTerrain(rng, 300, 10.0, 5.0));
		for(Point2& p : v) p.setCoords(p.x() + 3.5e6, p.y() + 3.5e6, p.z() + 400.0);
		dt.insert(v);
		checkQueries(dt, rng, 3.5e6, 10.0, 300, 1e-9);
	}
}

TEST(Heights, VerticesAndFlatTriangles)
{
	std::mt19937 rng(17);
	std::vector<Point2> v(randomTerrain(rng, 200, 1.0, 1e7));
	// A flat plateau: its triangles carry one height exactly.
	for(int i = 0; i < 5; ++i)
		for(int j = 0; j < 5; ++j) v.push_back(Point2(2.0 + 0.25 * i, 2.0 + 0.25 * j, 123.456));
	Mirel_2D dt(300);
	std::vector<Point2*> vHandles;
	dt.insert(v, vHandles);
	for(Point2* pV : vHandles)
	{
		double h(0.0);
		ASSERT_TRUE(dt.getHeight(pV->x(), pV->y(), h));
		ASSERT_EQ(h, pV->z());
	}
	double h(0.0);
	ASSERT_TRUE(dt.getHeight(2.3, 2.6, h));
	ASSERT_EQ(h, 123.456);
}

TEST(Heights, BatchAnswersAsSingleQueries)
{
	std::mt19937 rng(8);
	Mirel_2D dt(1000);
	dt.insert(randomTerrain(rng, 1000, 100.0, 20.0));
	std::uniform_real_distribution<double> d(-10.0, 110.0);
	std::vector<Point2> vQ;
	for(int i = 0; i < 3000; ++i) vQ.push_back(Point2(d(rng), d(rng), -999.0));
	vQ[17] = Point2(std::numeric_limits<double>::quiet_NaN(), 1.0, -999.0);
	vQ[18] = Point2(5.0, std::numeric_limits<double>::infinity(), -999.0);
	for(double tol : {0.0, 3.0})
	{
		std::vector<Point2> vBatch(vQ);
		std::vector<bool> vHasHeight;
		size_t numFound(0);
		std::string out(mtest::captureStdout([&] { numFound = dt.getHeights(vBatch, vHasHeight, tol); }));
		EXPECT_EQ(mtest::countOf(out, "[Mirel2D-Message]"), 1u);
		ASSERT_EQ(vHasHeight.size(), vQ.size());
		size_t numExpected(0);
		for(size_t i = 0; i < vQ.size(); ++i)
		{
			if(i == 17 || i == 18)
			{
				EXPECT_FALSE(vHasHeight[i]);
				continue;
			}
			double h(-999.0);
			bool bFound(dt.getHeight(vQ[i].x(), vQ[i].y(), h, nullptr, tol));
			numExpected += bFound ? 1 : 0;
			ASSERT_EQ(bool(vHasHeight[i]), bFound);
			ASSERT_EQ(vBatch[i].z(), h);
		}
		EXPECT_EQ(numFound, numExpected);
		EXPECT_GT(numFound, 1500u);
	}
}

// Nearest hull point by brute force over the hull edges.
bool nearestHullHeight(Mirel_2D& dt, double x, double y, double& sqDist, double& height)
{
	std::vector<Point2*> vHull;
	dt.getConvexHull(true, vHull);
	sqDist = std::numeric_limits<double>::infinity();
	for(size_t i = 0; i < vHull.size(); ++i)
	{
		const Point2& a(*vHull[i]);
		const Point2& b(*vHull[(i + 1) % vHull.size()]);
		double ux(b.x() - a.x()), uy(b.y() - a.y()), wx(x - a.x()), wy(y - a.y());
		double t(std::min(1.0, std::max(0.0, (wx * ux + wy * uy) / (ux * ux + uy * uy))));
		double dx(wx - t * ux), dy(wy - t * uy);
		if(dx * dx + dy * dy < sqDist)
		{
			sqDist = dx * dx + dy * dy;
			height = a.z() + t * (b.z() - a.z());
		}
	}
	return !vHull.empty();
}

TEST(Heights, OutsideTheHullWithinTolerance)
{
	Mirel_2D dt(10);
	dt.insert(std::vector<Point2>{Point2(0, 0, 0), Point2(10, 0, 10), Point2(10, 10, 20), Point2(0, 10, 10), Point2(4, 6, 50)});
	double h(-1.0);
	EXPECT_FALSE(dt.getHeight(10.5, 5.0, h, nullptr, 0.4));
	EXPECT_EQ(h, -1.0); // not written on failure
	EXPECT_TRUE(dt.getImpl()->getNearbyHeight(5.0, -0.25, h, 0.3) && h == 5.0);

	// Random terrains, random points around them: the hull point found is the
	// nearest one, and tolerance decides exactly as the distance says.
	std::mt19937 rng(99);
	std::uniform_real_distribution<double> dxy(0.0, 100.0), dz(0.0, 30.0), dout(-20.0, 120.0);
	std::vector<Point2> v;
	for(int i = 0; i < 300; ++i)
	{
		double a(dxy(rng) * 0.0628), r(dxy(rng) * 0.5);
		v.push_back(Point2(50.0 + r * std::cos(a), 50.0 + r * std::sin(a), dz(rng)));
	}
	Mirel_2D disc(300);
	disc.insert(v);
	int numOutside(0);
	for(int i = 0; i < 2000; ++i)
	{
		double x(dout(rng)), y(dout(rng));
		if(disc.locate(Point2(x, y, 0)) != nullptr) continue;
		++numOutside;
		double sqDist(0.0), expected(0.0), tol(double(i % 10));
		ASSERT_TRUE(nearestHullHeight(disc, x, y, sqDist, expected));
		double got(0.0);
		bool bGot(disc.getHeight(x, y, got, nullptr, tol));
		if(std::fabs(std::sqrt(sqDist) - tol) < 1e-9) continue; // too close to the limit to judge by doubles
		ASSERT_EQ(bGot, sqDist <= tol * tol) << x << " " << y << " tol " << tol;
		if(bGot)
		{
			ASSERT_NEAR(got, expected, 1e-9);
		}
	}
	EXPECT_GT(numOutside, 500);
}

TEST(Heights, BadQueriesGetAMessageAndFalse)
{
	Mirel_2D empty(10);
	double h(7.0);
	EXPECT_FALSE(empty.getHeight(1.0, 1.0, h, nullptr, 5.0));
	Mirel_2D collinear(10);
	collinear.insert(std::vector<Point2>{Point2(0, 0, 0), Point2(1, 1, 1), Point2(2, 2, 2)});
	EXPECT_FALSE(collinear.getHeight(1.0, 1.0, h));

	Mirel_2D dt(10);
	dt.insert(std::vector<Point2>{Point2(0, 0, 0), Point2(10, 0, 10), Point2(0, 10, 10)});
	const double nan(std::numeric_limits<double>::quiet_NaN()), inf(std::numeric_limits<double>::infinity());
	const double aBad[][2] = {{nan, 1.0}, {1.0, nan}, {inf, 1.0}, {1.0, -inf}};
	for(const auto& q : aBad)
	{
		std::string out(mtest::captureStdout([&] {
			EXPECT_FALSE(dt.getHeight(q[0], q[1], h, nullptr, 100.0));
			EXPECT_FALSE(dt.getImpl()->getNearbyHeight(q[0], q[1], h, 100.0));
		}));
		EXPECT_EQ(mtest::countOf(out, "[Mirel2D-Message]"), 2u) << out;
		EXPECT_NE(out.find("non-finite"), std::string::npos);
	}
	EXPECT_EQ(h, 7.0);
	// A far query point is an ordinary miss, and the mesh still answers afterwards.
	EXPECT_FALSE(dt.getHeight(1e300, -1e300, h, nullptr, 1.0));
	ASSERT_TRUE(dt.getHeight(2.0, 2.0, h));
	EXPECT_EQ(h, 4.0);
}

} // namespace
