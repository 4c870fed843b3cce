#include "Bbox2.h"
#include "Circle2.h"
#include "Edge2.h"
#include "GeomTest.h"
#include "Segment2.h"
#include "Triangle2.h"
#include "tools.h"
#include <gtest/gtest.h>
#include <cmath>
#include <limits>
#include <random>
#include <set>
#include <sstream>
#include <vector>

using namespace MIREL25D;

namespace {
std::string addressOf(const void* p)
{
	std::ostringstream ss;
	ss << p;
	return ss.str();
}
bool startsWith(const std::string& s, const std::string& prefix)
{
	return s.compare(0, prefix.size(), prefix) == 0;
}
bool endsWith(const std::string& s, const std::string& suffix)
{
	return s.size() >= suffix.size() && s.compare(s.size() - suffix.size(), suffix.size(), suffix) == 0;
}
std::string warning(const std::string& place, const std::string& text)
{
	return "\n      [Mirel2D-Message] " + place + ", WARNING: " + text + "\n\n";
}
} // namespace

TEST(Point2, HeightIsPayloadForEqualityAndOrder)
{
	Point2 low(1.0, 2.0, 0.0), high(1.0, 2.0, 5.0), right(1.5, -9.0, 0.0);
	EXPECT_TRUE(low == high);
	EXPECT_FALSE(low != high);
	EXPECT_FALSE(low.samePoint(high));
	EXPECT_FALSE(low < high);
	EXPECT_FALSE(high < low);
	EXPECT_TRUE(Func_ltPointXYZ()(low, high));
	EXPECT_FALSE(Func_ltPointXYZ()(high, low));
	EXPECT_TRUE(low < right);
	EXPECT_TRUE(right > high);
	EXPECT_TRUE(Func_ltPointXYZ()(high, right));
}

TEST(Point2, CopiesLeaveTheTriangulation)
{
	Point2 a(0, 0, 0), b(1, 0, 0), c(0, 1, 0);
	a.setCustomIndex(7);
	Triangle2 t;
	t.setProperties(&a, &b, &c);
	ASSERT_EQ(a.getIncidentTriangle(), &t);
	Point2 copied(a), assigned, setFrom;
	assigned = a;
	setFrom.set(a);
	for(const Point2* p : {&copied, &assigned, &setFrom})
	{
		EXPECT_EQ(p->getIncidentTriangle(), nullptr);
		EXPECT_EQ(p->getCustomIndex(), 7);
		EXPECT_TRUE(p->samePoint(a));
	}
	Point2 fresh;
	EXPECT_EQ(fresh.x(), std::numeric_limits<double>::lowest());
	EXPECT_EQ(fresh.getCustomIndex(), -1);
	Point2 moved(a + Vector2(1, 2, 3));
	EXPECT_TRUE(moved.samePoint(Point2(1, 2, 3)));
	EXPECT_EQ(moved.getCustomIndex(), -1);
}

TEST(Point2, OutputFormats)
{
	Point2 p(1.5, -2, 3);
	p.setCustomIndex(4);
	std::ostringstream ss;
	ss << p;
	EXPECT_EQ(ss.str(), "Point2 (" + addressOf(&p) + ",4): 1.5, -2, 3");
	testing::internal::CaptureStdout();
	p.print();
	EXPECT_EQ(testing::internal::GetCapturedStdout(), "1.5 -2 3\n");
	std::ostringstream sv, sc;
	sv << Vector2(1, 2.5, -3);
	EXPECT_EQ(sv.str(), "Vector2: 1, 2.5, -3");
	Circle2 circle(1, 2, 9);
	sc << circle;
	EXPECT_TRUE(startsWith(sc.str(), "Circle2: Point2 (")) << sc.str();
	EXPECT_TRUE(endsWith(sc.str(), ",-1): 1, 2, 0, r=3")) << sc.str();
}

TEST(Point2, NanDistanceIsReportedByEveryLengthFunction)
{
	double nan(std::numeric_limits<double>::quiet_NaN());
	Point2 a(0, 0, nan), b(3, 4, 0), c(0, 4, 1);
	std::ostringstream pa, pb;
	pa << a;
	pb << b;
	testing::internal::CaptureStderr();
	EXPECT_TRUE(std::isnan(sqDistance25D(a, b)));
	EXPECT_EQ(testing::internal::GetCapturedStderr(),
		"warning, sqDistance25D, nan value, no distance\np0=" + pa.str() + "\np1=" + pb.str() + "\n");
	EXPECT_EQ(sqDistance2D(a, b), 25.0);

	Triangle2 t(&a, &b, &c);
	Segment2 seg(a, b);
	testing::internal::CaptureStderr();
	EXPECT_TRUE(std::isnan(seg.getSqLen25D()));
	EXPECT_TRUE(std::isnan(VertexPair2(&a, &b).getSqLen25D()));
	EXPECT_TRUE(std::isnan(Edge2(&t, 2).getLength25D()));
	EXPECT_TRUE(std::isnan(t.getSquaredEdgeLength25D(1)));
	EXPECT_EQ(t.getSquaredEdgeLength25D(0), 10.0);
	std::string err(testing::internal::GetCapturedStderr());
	size_t count(0);
	for(size_t pos = err.find("nan value"); pos != std::string::npos; pos = err.find("nan value", pos + 1)) ++count;
	EXPECT_EQ(count, 4u);
}

TEST(Vector2, MaxIndexTiesAndNan)
{
	EXPECT_EQ(Vector2(1, -1, 1).getMaxIndex(), 0);
	EXPECT_EQ(Vector2(0, -2, 2).getMaxIndex(), 1);
	EXPECT_EQ(Vector2(0, 1, -3).getMaxIndex(), 2);
	EXPECT_EQ(Vector2().getMaxIndex(), 0);
	double nan(std::numeric_limits<double>::quiet_NaN());
	for(Vector2 v : {Vector2(nan, 1, 2), Vector2(1, nan, 2), Vector2(5, 1, nan)})
	{
		testing::internal::CaptureStdout();
		EXPECT_THROW(v.getMaxIndex(), MirelException);
		EXPECT_NE(testing::internal::GetCapturedStdout().find("Function: MIREL25D::Vector2::getMaxIndex()"), std::string::npos);
	}
}

TEST(Vector2, OrthogonalVectorIsLeftUnitPerpendicular)
{
	std::mt19937_64 rng(11);
	std::uniform_real_distribution<double> coord(-1e6, 1e6);
	std::uniform_int_distribution<int> exponent(-300, 300);
	for(int i = 0; i < 2000; ++i)
	{
		double scale(std::ldexp(1.0, exponent(rng) % (i < 1000 ? 1 : 300)));
		Vector2 v(coord(rng) * scale, coord(rng) * scale, coord(rng));
		if(i % 7 == 0) v.set(0.0, v.y(), v.z());
		if(i % 11 == 0) v.set(v.x(), 0.0, v.z());
		Vector2 o(v.orthogonalVector());
		if(v.x() == 0.0 && v.y() == 0.0)
		{
			EXPECT_TRUE(o.isDegenerate());
			continue;
		}
		EXPECT_EQ(o.z(), 0.0);
		EXPECT_NEAR(o.length(), 1.0, 1e-15);
		Vector2 unitV(normalize(Vector2(v.x(), v.y(), 0)));
		EXPECT_NEAR(unitV * o, 0.0, 1e-15);
		Point2 origin(0, 0, 0), tip(v.x(), v.y(), 0), side(o.x(), o.y(), 0);
		EXPECT_EQ(getOrientation2(&origin, &tip, &side), ORIENTATION2_CCW);
	}
	Vector2 up(Vector2(1, 0, 4).orthogonalVector()), left(Vector2(0, 3, 0).orthogonalVector());
	EXPECT_TRUE(up.x() == 0.0 && up.y() == 1.0);
	EXPECT_TRUE(left.x() == -1.0 && left.y() == 0.0);
}

TEST(Vector2, ProductsAndNormalize)
{
	std::mt19937_64 rng(5);
	std::uniform_real_distribution<double> coord(-10, 10);
	for(int i = 0; i < 200; ++i)
	{
		Vector2 a(coord(rng), coord(rng), coord(rng)), b(coord(rng), coord(rng), coord(rng));
		Vector2 n(crossProduct(a, b));
		EXPECT_NEAR(n * a, 0.0, 1e-12);
		EXPECT_NEAR(n * b, 0.0, 1e-12);
		EXPECT_NEAR(normalize(a).length(), 1.0, 1e-15);
		Vector2 sum(a + b - a), twice(2.0 * a - a * 2.0);
		EXPECT_NEAR((sum - b).length(), 0.0, 1e-14);
		EXPECT_TRUE(twice.isDegenerate());
	}
	EXPECT_TRUE(normalize(Vector2()).isDegenerate());
	Vector2 z(crossProduct(Vector2(1, 0, 0), Vector2(0, 1, 0)));
	EXPECT_TRUE(z.x() == 0 && z.y() == 0 && z.z() == 1);
}

TEST(Bbox2, FreshBoxAndSinglePoint)
{
	Bbox2 box;
	EXPECT_FALSE(box.isValid());
	EXPECT_FALSE(box.isInBox(Point2(0, 0, 0)));
	EXPECT_EQ(box.get_minX(), std::numeric_limits<double>::max());
	EXPECT_EQ(box.get_maxY(), std::numeric_limits<double>::lowest());
	double noCoords[3] = {0, 0, 0};
	EXPECT_FALSE(box.add(0, noCoords));
	EXPECT_FALSE(box.isValid());

	EXPECT_TRUE(box.add(Point2(2, 3, 9)));
	EXPECT_TRUE(box.isValid());
	EXPECT_FALSE(box.add(Point2(2, 3, -1)));
	EXPECT_EQ(box.getRangeX(), 0.0);
	EXPECT_EQ(box.getRangeY(), 0.0);
	box.inflateIfDegenerate(1.0);
	EXPECT_EQ(box.get_minX(), 2.0);
	EXPECT_EQ(box.get_minY(), 3.0);
	EXPECT_EQ(box.get_maxX(), 3.0);
	EXPECT_EQ(box.get_maxY(), 4.0);
	box.inflateIfDegenerate(1.0);
	EXPECT_EQ(box.get_maxX(), 3.0);
}

TEST(Bbox2, AddRangesAndCorners)
{
	std::vector<Point2> vPoints{Point2(1, 5, 0), Point2(-2, 0, 0), Point2(0, 7, 0)};
	std::vector<Point2*> vPointers{&vPoints[0], &vPoints[1]};
	double coords[6] = {4, -1, 100, 0, 0, -100};
	Bbox2 fromValues, fromPointers, fromCoords;
	EXPECT_TRUE(fromValues.add(vPoints.begin(), vPoints.end()));
	EXPECT_TRUE(fromPointers.add(vPointers.begin(), vPointers.end()));
	EXPECT_FALSE(fromPointers.add(vPointers.begin(), vPointers.end()));
	EXPECT_TRUE(fromCoords.add(2, coords));
	double x0, y0, x1, y1;
	fromValues.getBounds(x0, y0, x1, y1);
	EXPECT_TRUE(x0 == -2 && y0 == 0 && x1 == 1 && y1 == 7);
	EXPECT_TRUE(fromPointers.get_maxY() == 5 && fromPointers.get_minX() == -2);
	fromCoords.getBounds(x0, y0, x1, y1);
	EXPECT_TRUE(x0 == 0 && y0 == -1 && x1 == 4 && y1 == 0);
	EXPECT_EQ(fromValues.getMaxRange(), 7.0);
	EXPECT_EQ(fromValues.getMinCoord(), -2.0);
	EXPECT_EQ(fromValues.getMaxCoord(), 7.0);

	std::vector<Point2> vCorners(1, Point2(9, 9, 9));
	fromValues.getCorners(vCorners);
	fromValues.getOffsetCorners(0.5, vCorners);
	ASSERT_EQ(vCorners.size(), 9u);
	EXPECT_TRUE(vCorners[1] == fromValues.getMinPoint());
	EXPECT_TRUE(vCorners[3] == fromValues.getMaxPoint());
	EXPECT_TRUE(vCorners[5] == Point2(-2.5, -0.5, 0));
	EXPECT_TRUE(vCorners[7] == Point2(1.5, 7.5, 0));
	for(size_t first : {1, 5})
		for(size_t k = 0; k < 4; ++k)
		{
			const Point2& a(vCorners[first + k]);
			const Point2& b(vCorners[first + (k + 1) % 4]);
			const Point2& c(vCorners[first + (k + 2) % 4]);
			EXPECT_EQ(getOrientation2(&a, &b, &c), ORIENTATION2_CCW);
		}
	EXPECT_TRUE(fromValues.isInBox(Point2(1, 0, 0)));
	EXPECT_FALSE(fromValues.isInBox(Point2(1, 7.000001, 0)));
}

TEST(Bbox2, MergeIntoInvalidBoxKeepsFlagUnset)
{
	Bbox2 target, source;
	source.add(Point2(0, 0, 0));
	source.add(Point2(10, 10, 0));
	Bbox2 result(target + source);
	EXPECT_TRUE(result.isValid());
	EXPECT_TRUE(target.isValid());
	EXPECT_EQ(target.get_maxX(), 10.0);
	// isValid judges by minX, but the flag is not set: the box still behaves as invalid
	EXPECT_FALSE(target.isInBox(Point2(5, 5, 0)));
	testing::internal::CaptureStdout();
	EXPECT_FALSE(target.doIntersect(source));
	Point2 center(target.computeCenter());
	EXPECT_EQ(testing::internal::GetCapturedStdout(),
		warning("Bbox2::doIntersect()", "bbox invalid") + warning("Bbox2::computeCenter()", "Bbox2 is invalid"));
	EXPECT_TRUE(center.samePoint(Point2(5, 5, 0)));
	// the next add only sets the flag: its point is not added to the copied bounds
	EXPECT_TRUE(target.add(Point2(20, -20, 0)));
	EXPECT_TRUE(target.isInBox(Point2(5, 5, 0)));
	EXPECT_EQ(target.get_maxX(), 10.0);
	EXPECT_EQ(target.get_minY(), 0.0);
	EXPECT_TRUE(target.add(Point2(20, -20, 0)));
	EXPECT_EQ(target.get_maxX(), 20.0);
}

TEST(Bbox2, MergeChangesLeftOperandAndWarnsOnInvalidRight)
{
	Bbox2 left, right, invalid;
	left.add(Point2(0, 0, 0));
	right.add(Point2(-1, 3, 0));
	Bbox2 result(left + right);
	EXPECT_TRUE(left.get_minX() == -1 && left.get_maxY() == 3 && left.get_maxX() == 0);
	EXPECT_TRUE(result.get_minX() == -1 && result.get_maxY() == 3);
	testing::internal::CaptureStdout();
	Bbox2 unchanged(left + invalid);
	EXPECT_EQ(testing::internal::GetCapturedStdout(), warning("Box2::operator+()", "trying to add an invalid Bbox2"));
	EXPECT_TRUE(unchanged.get_minX() == -1 && unchanged.get_maxY() == 3);

	Bbox2 touching;
	touching.add(Point2(0, 3, 0));
	touching.add(Point2(5, 6, 0));
	Bbox2 apart;
	apart.add(Point2(0.5, 3.5, 0));
	EXPECT_TRUE(left.doIntersect(touching));
	EXPECT_TRUE(touching.doIntersect(left));
	EXPECT_FALSE(left.doIntersect(apart));
	EXPECT_FALSE(apart.doIntersect(left));
}

TEST(Bbox2, GrowingTellsThePredicates)
{
	GeomTest geomTest;
	Bbox2 box(&geomTest);
	box.add(Point2(-1, 2, 0));
	box.add(Point2(3, 4, 0));
	box.setMaxY(6);
	EXPECT_EQ(geomTest.getMaxCoord(), 0.0); // adding and setting do not report
	box.doubleTheBox();
	EXPECT_TRUE(box.get_minX() == -3 && box.get_maxX() == 5 && box.get_minY() == 0 && box.get_maxY() == 8);
	EXPECT_EQ(geomTest.getMaxCoord(), 80.0);
	box.enlargeRanges(3.0); // the new extent, 16, is below the stored bound
	EXPECT_TRUE(box.get_minX() == -11 && box.get_maxX() == 13 && box.get_minY() == -8 && box.get_maxY() == 16);
	EXPECT_EQ(geomTest.getMaxCoord(), 80.0);
	box.enlargeRanges(11.0);
	EXPECT_TRUE(box.get_minX() == -131 && box.get_maxX() == 133 && box.get_minY() == -128 && box.get_maxY() == 136);
	EXPECT_EQ(geomTest.getMaxCoord(), 1360.0);
	Bbox2 detached;
	detached.add(Point2(1, 1, 0));
	detached.enlargeRanges(2.0); // no predicate object: nothing to tell
	EXPECT_EQ(detached.get_minX(), 1.0);
}

TEST(Segment2, EqualityOrderAndOutput)
{
	Point2 a(0, 0, 1), b(2, 1, 0), c(2, 1, 5);
	a.setCustomIndex(3);
	Segment2 ab(a, b), ba(b, a), ac(a, c), cb(c, b);
	EXPECT_TRUE(ab == ba);
	EXPECT_TRUE(ab == ac); // same places, different heights
	EXPECT_FALSE(ab == cb);
	EXPECT_EQ(ab.getSrc().getCustomIndex(), 3);
	EXPECT_EQ(ab.getSrc().getIncidentTriangle(), nullptr);
	ba.swapSrcTrg();
	EXPECT_TRUE(ba.getSrc().samePoint(a) && ba.getTrg().samePoint(b));
	EXPECT_EQ(ab.getSqLen2D(), 5.0);
	EXPECT_EQ(ab.getSqLen25D(), 6.0);

	std::vector<Segment2> vSegs{Segment2(b, a), Segment2(a, c), Segment2(a, b), Segment2(Point2(0, 0, 0), Point2(-1, 5, 0))};
	std::set<const Segment2*, Func_compareSegment> sorted;
	for(const Segment2& s : vSegs) sorted.insert(&s);
	ASSERT_EQ(sorted.size(), 3u); // a->b and a->c share (x, y)
	auto it(sorted.begin());
	EXPECT_TRUE((*it)->getTrg() == Point2(-1, 5, 0));
	EXPECT_TRUE((*++it)->getTrg() == b);
	EXPECT_TRUE((*++it)->getSrc() == b);

	std::ostringstream ss;
	ss << ab;
	EXPECT_TRUE(startsWith(ss.str(), "Segment2 (" + addressOf(&ab) + "): Point2 (")) << ss.str();
	EXPECT_NE(ss.str().find(",3): 0, 0, 1,Point2 ("), std::string::npos) << ss.str();
	EXPECT_TRUE(endsWith(ss.str(), ",-1): 2, 1, 0")) << ss.str();
}

TEST(Edge2, HalfEdgesAndVertexPairs)
{
	Point2 a(0, 0, 0), b(1, 0, 0), c(0, 1, 0), d(1, 1, 2);
	Triangle2 left, right;
	left.setPropertiesAndOppT(&a, &b, &c, &right, nullptr, nullptr);
	right.setPropertiesAndOppT(&b, &d, &c, nullptr, &left, nullptr);
	Edge2 shared(&left, 0), border(&left, 1), other(&right, 1);
	EXPECT_TRUE(shared.getSrc() == &b && shared.getTrg() == &c);
	EXPECT_TRUE(other.getSrc() == &c && other.getTrg() == &b);
	Triangle2 *pT0, *pT1;
	int i0, i1;
	shared.getTriangles(pT0, pT1, i0, i1);
	EXPECT_TRUE(pT0 == &left && i0 == 0 && pT1 == &right && i1 == 1);
	border.getTriangles(pT0, pT1, i0, i1);
	EXPECT_TRUE(pT0 == &left && i0 == 1 && pT1 == nullptr && i1 == -1);
	EXPECT_NE(shared, other);
	EXPECT_TRUE(shared == Edge2(&left, 0));
	EXPECT_TRUE(shared < border);
	EXPECT_TRUE(Edge2() == Edge2(nullptr, -1));
	EXPECT_DOUBLE_EQ(Edge2(&right, 2).getLength2D(), 1.0);
	EXPECT_DOUBLE_EQ(Edge2(&right, 2).getLength25D(), std::sqrt(5.0));

	VertexPair2 bc(&b, &c), cb(&c, &b), ad(&a, &d);
	EXPECT_TRUE(bc == cb);
	EXPECT_TRUE(bc.getP0() == cb.getP0() && std::less<Point2*>()(bc.getP0(), bc.getP1()));
	EXPECT_TRUE(bc < ad || ad < bc);
	EXPECT_FALSE(bc < cb || cb < bc);
	EXPECT_EQ(ad.getSqLen2D(), 2.0);
	EXPECT_EQ(ad.getSqLen25D(), 6.0);
}
