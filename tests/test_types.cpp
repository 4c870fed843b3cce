// Geometric types by their properties: fans around vertices, exact on-edge
// tests, measures against independent formulas, duals against the exact
// circumcentre, orthogonal vectors.
#include "GeomTest.h"
#include "Triangle2.h"
#include "test_support.h"
#include "tools.h"
#include <array>
#include <cmath>
#include <limits>

using namespace MIREL25D;

namespace {

// u follows t counterclockwise around p: it holds t's corner after p's edge
// (the corner before p in t's counterclockwise order).
bool followsCCW(const Triangle2* t, const Triangle2* u, const Point2& p)
{
	return u->hasVertex(t->getCorner(prevIndex(t->getIntraTriangleIndex(&p))));
}

void exactCircumcenter(const Point2& a, const Point2& b, const Point2& c, mpq_class& ux, mpq_class& uy)
{
	mpq_class bx(mpq_class(b.x()) - a.x()), by(mpq_class(b.y()) - a.y());
	mpq_class cx(mpq_class(c.x()) - a.x()), cy(mpq_class(c.y()) - a.y());
	mpq_class den(2 * (bx * cy - by * cx)), sqB(bx * bx + by * by), sqC(cx * cx + cy * cy);
	ux = mpq_class(a.x()) + (cy * sqB - by * sqC) / den;
	uy = mpq_class(a.y()) + (bx * sqC - cx * sqB) / den;
}

// Largest difference of the distances from (x, y) to the corners, nearly exact:
// |d_i - d_j| = |d_i^2 - d_j^2| / (d_i + d_j) with the numerator exact.
double maxDistanceSpread(const Triangle2& t, const mpq_class& x, const mpq_class& y)
{
	mpq_class sq[3];
	for(int k = 0; k < 3; ++k)
	{
		mpq_class dx(x - t.getCorner(k)->x()), dy(y - t.getCorner(k)->y());
		sq[k] = dx * dx + dy * dy;
	}
	double spread(0);
	for(int k = 0; k < 3; ++k)
	{
		mpq_class diff(sq[k] - sq[nextIndex(k)]);
		spread = std::max(spread, std::fabs(diff.get_d()) / (std::sqrt(sq[k].get_d()) + std::sqrt(sq[nextIndex(k)].get_d())));
	}
	return spread;
}

int exactSide(const Point2& a, const Point2& b, const mpq_class& x, const mpq_class& y)
{
	return sgn((mpq_class(a.x()) - x) * (mpq_class(b.y()) - y) - (mpq_class(a.y()) - y) * (mpq_class(b.x()) - x));
}
} // namespace

TEST(TriangleAroundVertexIterator, FansOfInteriorAndBorderVertices)
{
	// A jittered grid: interior vertices, border vertices with fans of every size.
	std::mt19937 rng(3);
	std::vector<Point2> vGrid(mtest::uniformPoints(rng, 60, 0.0, 5.0));
	for(int i = 0; i < 6; ++i) vGrid.push_back(Point2(i, 0, 0)); // collinear on the border
	Mirel_2D dt(100);
	dt.insert(vGrid);
	std::vector<Point2*> vVtx, vHull;
	dt.getVertexPointers(vVtx);
	dt.getConvexHull(true, vHull);
	std::vector<Triangle2*> vT;
	dt.getTrianglePointers(vT);
	for(Point2* pVtx : vVtx)
	{
		Point2& p(*pVtx);
		std::set<Triangle2*> sFan;
		for(Triangle2* pT : vT)
			if(pT->hasVertex(&p)) sFan.insert(pT);
		bool bInterior(std::find(vHull.begin(), vHull.end(), pVtx) == vHull.end());
		for(bool bForward : {true, false})
		{
			TriangleAroundVertexIterator it(&p);
			std::vector<Triangle2*> vSeq{*it};
			for(size_t k = 0; k < 2 * sFan.size() + 2; ++k)
			{
				Triangle2* pPreview(bForward ? it.previewNextTriangle() : it.previewPrevTriangle());
				vSeq.push_back(bForward ? *++it : *--it);
				ASSERT_EQ(vSeq.back(), pPreview);
				EXPECT_TRUE(vSeq.back() == nullptr || vSeq.back()->hasVertex(&p));
				Triangle2* pBefore(vSeq[vSeq.size() - 2]);
				if(vSeq.back() == nullptr || pBefore == nullptr || sFan.size() == 1) continue;
				EXPECT_EQ(followsCCW(pBefore, vSeq.back(), p), bForward);
			}
			size_t firstNull(std::find(vSeq.begin(), vSeq.end(), nullptr) - vSeq.begin());
			if(bInterior)
			{
				EXPECT_EQ(firstNull, vSeq.size());
				EXPECT_EQ(vSeq[sFan.size()], vSeq[0]);
				EXPECT_EQ(std::set<Triangle2*>(vSeq.begin(), vSeq.begin() + sFan.size()), sFan);
				continue;
			}
			// border: null once, then the whole fan from its far end, then null again
			ASSERT_LE(firstNull + sFan.size() + 1, vSeq.size() - 1);
			EXPECT_EQ(std::set<Triangle2*>(vSeq.begin() + firstNull + 1, vSeq.begin() + firstNull + 1 + sFan.size()), sFan);
			EXPECT_EQ(vSeq[firstNull + sFan.size() + 1], nullptr);
		}
	}
	Point2 loose(1, 1, 1);
	mtest::captureStdout([&] { EXPECT_THROW(TriangleAroundVertexIterator it(&loose), MirelException); });
}

TEST(Triangle2, OnEdgeIsExactAtLargeCoordinates)
{
	// Integer points in doubles: every point of the form src + k*(3, 5) is on the line.
	Point2 src(1e8, 2e8, 0), trg(1e8 + 3 * 1000, 2e8 + 5 * 1000, 0), apex(1e8 - 7, 2e8 + 4000, 0);
	Triangle2 t(&apex, &src, &trg);
	for(int k : {-1, 0, 1, 500, 999, 1000, 1001})
	{
		Point2 q(1e8 + 3 * k, 2e8 + 5 * k, 0);
		EXPECT_EQ(t.hasOnEdge(0, q), k >= 0 && k <= 1000) << k;
		Point2 beside(std::nextafter(q.x(), 1e300), q.y(), 0);
		EXPECT_FALSE(t.hasOnEdge(0, beside)) << k;
		EXPECT_EQ(t.hasOnEdge(1, q), k == 1000);
		EXPECT_EQ(t.hasOnEdge(2, q), k == 0);
	}
}

TEST(Triangle2, MeasuresMatchIndependentFormulas)
{
	Point2 a(0, 0, 0), b(2, 0, 0), d(4, 0, 0);
	Triangle2 flat(&a, &b, &d);
	EXPECT_TRUE(flat.getArea2D() == 0.0 && flat.getNormalVector().isDegenerate());

	std::mt19937_64 rng(17);
	std::uniform_real_distribution<double> coord(-100, 100);
	for(int n = 0; n < 500; ++n)
	{
		Point2 p0(coord(rng), coord(rng), coord(rng)), p1(coord(rng), coord(rng), coord(rng)), p2(coord(rng), coord(rng), coord(rng));
		Triangle2 t(&p0, &p1, &p2);
		double cross2D((p1.x() - p0.x()) * (p2.y() - p0.y()) - (p1.y() - p0.y()) * (p2.x() - p0.x()));
		Vector2 cross3D(crossProduct(p1 - p0, p2 - p0));
		EXPECT_NEAR(t.getArea2D(), std::fabs(cross2D) / 2, 1e-7 * cross3D.length());
		EXPECT_NEAR(t.getArea25D(), cross3D.length() / 2, 1e-7 * cross3D.length());
		double sum2D(0), sum25D(0);
		for(int i = 0; i < 3; ++i)
		{
			sum2D += t.getInteriorAngle2D(i);
			sum25D += t.getInteriorAngle25D(i);
		}
		EXPECT_NEAR(sum2D, 180.0, 1e-6);
		EXPECT_NEAR(sum25D, 180.0, 1e-6);
		Vector2 normal(t.getNormalVector());
		EXPECT_NEAR(normal.length(), 1.0, 1e-12);
		EXPECT_NEAR(normal * normalize(p2 - p1), 0.0, 1e-9);
		EXPECT_GT(normal * cross3D, 0.0);
		EXPECT_NEAR(t.getBarycenter().z(), (p0.z() + p1.z() + p2.z()) / 3, 1e-12);
	}
}

TEST(Triangle2, DualOfNearlyDegenerateTrianglesIsHonest)
{
	std::mt19937_64 rng(29);
	std::uniform_real_distribution<double> unit(-1, 1);
	int numAccurate(0), numFarAccurate(0), numTotal(0);
	for(int n = 0; n < 3000; ++n)
	{
		double ox(n % 3 == 0 ? 0.0 : 1e4 * unit(rng)), oy(n % 3 == 0 ? 0.0 : 1e4 * unit(rng));
		Point2 p0(ox + unit(rng), oy + unit(rng), 0), p1(ox + unit(rng), oy + unit(rng), 0);
		double s(1.0 * unit(rng) + 0.5), h(std::pow(10.0, -3 - 9 * (unit(rng) + 1) / 2));
		double dx(p1.x() - p0.x()), dy(p1.y() - p0.y());
		Point2 apex(p0.x() + s * dx - h * dy, p0.y() + s * dy + h * dx, 0);
		Triangle2 t(&p0, &p1, &apex);
		if(getOrientation2(&p0, &p1, &apex) != ORIENTATION2_CCW) continue;
		++numTotal;
		mpq_class ux, uy;
		exactCircumcenter(p0, p1, apex, ux, uy);
		std::pair<Point2, bool> dual(t.getDual());
		if(!dual.second) continue;
		++numAccurate;
		// an accurate centre is nearly equidistant from the corners, measured exactly
		mpq_class cx(dual.first.x()), cy(dual.first.y());
		EXPECT_LT(maxDistanceSpread(t, cx, cy), 1.01e-6) << n;
		// and it lies on the same side of the longest edge as the true centre
		int i(t.getMaxIndex());
		const Point2& e0(*t.getCorner(nextIndex(i)));
		const Point2& e1(*t.getCorner(prevIndex(i)));
		int trueSide(exactSide(e0, e1, ux, uy));
		EXPECT_TRUE(trueSide == 0 || exactSide(e0, e1, cx, cy) == trueSide) << n;
		if(std::fabs(ux.get_d() - ox) > 1e3) ++numFarAccurate;
	}
	// most flat triangles still get an accurate centre, distant ones included
	EXPECT_GT(numTotal, 2000);
	EXPECT_GT(numAccurate, numTotal / 2);
	EXPECT_GT(numFarAccurate, numTotal / 2);
}

