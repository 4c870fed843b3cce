#include "Bbox2.h"
#include "Circle2.h"
#include "Edge2.h"
#include "GeomTest.h"
#include "Segment2.h"
#include "test_support.h"
#include "tools.h"
#include <cmath>
#include <limits>

using namespace MIREL25D;

namespace {
using mtest::streamed;
std::string warning(const std::string& place, const std::string& text)
{
	return "\n      [Mirel2D-Message] " + place + ", WARNING: " + text + "\n\n";
}
const double NAN_VALUE(std::numeric_limits<double>::quiet_NaN());
} // namespace

TEST(Point2, HeightIsPayloadAndCopiesLeaveTheMesh)
{
	Point2 low(1, 2, 0), high(1, 2, 5), right(1.5, -9, 0);
	EXPECT_TRUE(low == high && !(low != high) && !low.samePoint(high));
	EXPECT_TRUE(!(low < high) && !(high < low) && low < right && right > high);
	EXPECT_TRUE(Func_ltPointXYZ()(low, high) && !Func_ltPointXYZ()(high, low) && Func_ltPointXYZ()(high, right));

	Point2 b(1, 0, 0), c(0, 1, 0);
	low.setCustomIndex(7);
	Triangle2 t;
	t.setProperties(&low, &b, &c);
	Point2 copied(low), assigned, setFrom;
	assigned = low;
	setFrom.set(low);
	for(const Point2* p : {&copied, &assigned, &setFrom})
		EXPECT_TRUE(p->getIncidentTriangle() == nullptr && p->getCustomIndex() == 7 && p->samePoint(low));
	EXPECT_EQ(low.getIncidentTriangle(), &t);
	Point2 moved(low + Vector2(1, 2, 3));
	EXPECT_TRUE(moved.samePoint(Point2(2, 4, 3)) && moved.getCustomIndex() == -1);
	EXPECT_TRUE(Point2().x() == std::numeric_limits<double>::lowest() && Point2().getCustomIndex() == -1);
}

TEST(Point2, OutputFormatsAndNanDistances)
{
	Point2 p(1.5, -2, 3), q(3, 4, 0), r(0, 4, 1);
	p.setCustomIndex(4);
	EXPECT_EQ(streamed(p), "Point2 (" + streamed(static_cast<const void*>(&p)) + ",4): 1.5, -2, 3");
	EXPECT_EQ(streamed(Vector2(1, 2.5, -3)), "Vector2: 1, 2.5, -3");
	std::string circle(streamed(Circle2(1, 2, 9)));
	EXPECT_TRUE(circle.find("Circle2: Point2 (") == 0 && circle.find(",-1): 1, 2, 0, r=3") == circle.size() - 18) << circle;
	testing::internal::CaptureStdout();
	p.print();
	EXPECT_EQ(testing::internal::GetCapturedStdout(), "1.5 -2 3\n");

	Point2 a(0, 0, NAN_VALUE);
	testing::internal::CaptureStderr();
	EXPECT_TRUE(std::isnan(sqDistance25D(a, q)));
	EXPECT_EQ(testing::internal::GetCapturedStderr(),
		"warning, sqDistance25D, nan value, no distance\np0=" + streamed(a) + "\np1=" + streamed(q) + "\n");
	EXPECT_EQ(sqDistance2D(a, q), 25.0);
	// every 2.5D length goes through the same check
	Triangle2 t(&a, &q, &r);
	testing::internal::CaptureStderr();
	EXPECT_TRUE(std::isnan(Segment2(a, q).getSqLen25D()) && std::isnan(VertexPair2(&a, &q).getSqLen25D()));
	EXPECT_TRUE(std::isnan(Edge2(&t, 2).getLength25D()) && std::isnan(t.getSquaredEdgeLength25D(1)));
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
	for(Vector2 v : {Vector2(NAN_VALUE, 1, 2), Vector2(1, NAN_VALUE, 2), Vector2(5, 1, NAN_VALUE)})
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
	std::uniform_int_distribution<int> exponent(-299, 299);
	for(int i = 0; i < 2000; ++i)
	{
		double scale(i < 1000 ? 1.0 : std::ldexp(1.0, exponent(rng)));
		Vector2 v(i % 7 == 0 ? 0.0 : coord(rng) * scale, i % 11 == 0 ? 0.0 : coord(rng) * scale, coord(rng));
		Vector2 o(v.orthogonalVector());
		if(v.x() == 0.0 && v.y() == 0.0)
		{
			EXPECT_TRUE(o.isDegenerate());
			continue;
		}
		EXPECT_EQ(o.z(), 0.0);
		EXPECT_NEAR(o.length(), 1.0, 1e-15);
		EXPECT_NEAR(normalize(Vector2(v.x(), v.y(), 0)) * o, 0.0, 1e-15);
		Point2 origin(0, 0, 0), tip(v.x(), v.y(), 0), side(o.x(), o.y(), 0);
		EXPECT_EQ(getOrientation2(&origin, &tip, &side), ORIENTATION2_CCW);
	}
	Vector2 cross(crossProduct(Vector2(1, 0, 0), Vector2(0, 1, 0)));
	EXPECT_TRUE(cross.x() == 0 && cross.y() == 0 && cross.z() == 1);
	EXPECT_TRUE(normalize(Vector2()).isDegenerate());
}

TEST(Bbox2, FillingGrowingAndCorners)
{
	Bbox2 box;
	double coords[6] = {4, -1, 100, 7, 0, -100};
	EXPECT_FALSE(box.isValid() || box.isInBox(Point2(0, 0, 0)) || box.add(0, coords));
	EXPECT_TRUE(box.add(Point2(2, 3, 9)));
	EXPECT_FALSE(box.add(Point2(2, 3, -1)));
	box.inflateIfDegenerate(1.0);
	box.inflateIfDegenerate(1.0); // no longer degenerate
	EXPECT_TRUE(box.get_minX() == 2 && box.get_minY() == 3 && box.get_maxX() == 3 && box.get_maxY() == 4);

	std::vector<Point2> vPoints{Point2(1, 5, 0), Point2(-2, 0, 0)};
	std::vector<Point2*> vPointers{&vPoints[0], &vPoints[1]};
	Bbox2 fromValues, fromPointers, fromCoords;
	EXPECT_TRUE(fromValues.add(vPoints.begin(), vPoints.end()) && fromPointers.add(vPointers.begin(), vPointers.end()));
	EXPECT_FALSE(fromPointers.add(vPointers.begin(), vPointers.end()));
	EXPECT_TRUE(fromCoords.add(2, coords));
	double x0, y0, x1, y1;
	fromCoords.getBounds(x0, y0, x1, y1);
	EXPECT_TRUE(x0 == 4 && y0 == -1 && x1 == 7 && y1 == 0);
	EXPECT_TRUE(fromValues.get_minX() == -2 && fromPointers.get_maxY() == 5 && fromValues.getMaxRange() == 5);
	EXPECT_TRUE(fromValues.isInBox(Point2(1, 0, 0)) && !fromValues.isInBox(Point2(1, 5.000001, 0)));

	std::vector<Point2> vCorners(1, Point2(9, 9, 9));
	fromValues.getCorners(vCorners);
	fromValues.getOffsetCorners(0.5, vCorners);
	ASSERT_EQ(vCorners.size(), 9u);
	EXPECT_TRUE(vCorners[1] == fromValues.getMinPoint() && vCorners[3] == fromValues.getMaxPoint());
	EXPECT_TRUE(vCorners[5] == Point2(-2.5, -0.5, 0) && vCorners[7] == Point2(1.5, 5.5, 0));
	for(size_t first : {1, 5})
		for(size_t k = 0; k < 4; ++k)
			EXPECT_EQ(getOrientation2(&vCorners[first + k], &vCorners[first + (k + 1) % 4], &vCorners[first + (k + 2) % 4]), ORIENTATION2_CCW);

	GeomTest geomTest;
	Bbox2 attached(&geomTest);
	attached.add(Point2(-1, 2, 0));
	attached.add(Point2(3, 6, 0));
	EXPECT_EQ(geomTest.getMaxCoord(), 0.0); // adding does not report
	attached.doubleTheBox();
	EXPECT_TRUE(attached.get_minX() == -3 && attached.get_maxX() == 5 && attached.get_minY() == 0 && attached.get_maxY() == 8);
	EXPECT_EQ(geomTest.getMaxCoord(), 80.0);
	attached.enlargeRanges(3.0); // the new extent, 16, stays below the stored bound
	EXPECT_TRUE(attached.get_minX() == -11 && attached.get_maxX() == 13 && attached.get_minY() == -8 && attached.get_maxY() == 16);
	EXPECT_EQ(geomTest.getMaxCoord(), 80.0);
	attached.enlargeRanges(11.0);
	EXPECT_EQ(attached.get_maxY(), 136.0);
	EXPECT_EQ(geomTest.getMaxCoord(), 1360.0);
}

TEST(Bbox2, MergeQuirksAndWarnings)
{
	Bbox2 target, source, invalid;
	source.add(Point2(0, 0, 0));
	source.add(Point2(10, 10, 0));
	Bbox2 result(target + source);
	EXPECT_TRUE(result.isValid() && target.isValid() && target.get_maxX() == 10);
	// isValid judges by minX, but the flag is not set: the box still behaves as invalid
	EXPECT_FALSE(target.isInBox(Point2(5, 5, 0)));
	testing::internal::CaptureStdout();
	EXPECT_FALSE(target.doIntersect(source));
	Point2 center(target.computeCenter());
	Bbox2 unchanged(source + invalid);
	EXPECT_EQ(testing::internal::GetCapturedStdout(), warning("Bbox2::doIntersect()", "bbox invalid") +
		warning("Bbox2::computeCenter()", "Bbox2 is invalid") + warning("Box2::operator+()", "trying to add an invalid Bbox2"));
	EXPECT_TRUE(center.samePoint(Point2(5, 5, 0)) && unchanged.get_maxX() == 10);
	// the next add only sets the flag: its point is not added to the copied bounds
	EXPECT_TRUE(target.add(Point2(20, -20, 0)));
	EXPECT_TRUE(target.isInBox(Point2(5, 5, 0)) && target.get_maxX() == 10 && target.get_minY() == 0);
	EXPECT_TRUE(target.add(Point2(20, -20, 0)));
	EXPECT_EQ(target.get_maxX(), 20.0);

	Bbox2 left, right, touching, apart;
	left.add(Point2(0, 0, 0));
	right.add(Point2(-1, 3, 0));
	result = left + right; // changes the left operand
	EXPECT_TRUE(left.get_minX() == -1 && left.get_maxY() == 3 && result.get_minX() == -1 && result.get_maxY() == 3);
	touching.add(Point2(0, 3, 0));
	touching.add(Point2(5, 6, 0));
	apart.add(Point2(0.5, 3.5, 0));
	EXPECT_TRUE(left.doIntersect(touching) && touching.doIntersect(left));
	EXPECT_FALSE(left.doIntersect(apart) || apart.doIntersect(left));
}

TEST(Segment2, EqualityOrderAndOutput)
{
	Point2 a(0, 0, 1), b(2, 1, 0), c(2, 1, 5);
	a.setCustomIndex(3);
	Segment2 ab(a, b), ba(b, a), ac(a, c), cb(c, b);
	EXPECT_TRUE(ab == ba && ab == ac && !(ab == cb));
	EXPECT_TRUE(ab.getSrc().getCustomIndex() == 3 && ab.getSqLen2D() == 5.0 && ab.getSqLen25D() == 6.0);
	ba.swapSrcTrg();
	EXPECT_TRUE(ba.getSrc().samePoint(a) && ba.getTrg().samePoint(b));

	std::vector<Segment2> vSegs{Segment2(b, a), Segment2(a, c), Segment2(a, b), Segment2(Point2(0, 0, 0), Point2(-1, 5, 0))};
	std::set<const Segment2*, Func_compareSegment> sSorted;
	for(const Segment2& s : vSegs) sSorted.insert(&s);
	ASSERT_EQ(sSorted.size(), 3u); // a->b and a->c share x and y
	auto it(sSorted.begin());
	EXPECT_TRUE((*it)->getTrg() == Point2(-1, 5, 0) && (*++it)->getTrg() == b && (*++it)->getSrc() == b);

	std::string out(streamed(ab));
	EXPECT_EQ(out.find("Segment2 (" + streamed(static_cast<const void*>(&ab)) + "): Point2 ("), 0u) << out;
	EXPECT_NE(out.find(",3): 0, 0, 1,Point2 ("), std::string::npos) << out;
	EXPECT_EQ(out.find(",-1): 2, 1, 0"), out.size() - 13) << out;
}

TEST(Edge2, HalfEdgesAndVertexPairs)
{
	Point2 a(0, 0, 0), b(1, 0, 0), c(0, 1, 0), d(1, 1, 2);
	Triangle2 left, right;
	left.setPropertiesAndOppT(&a, &b, &c, &right, nullptr, nullptr);
	right.setPropertiesAndOppT(&b, &d, &c, nullptr, &left, nullptr);
	Edge2 shared(&left, 0), border(&left, 1), other(&right, 1);
	EXPECT_TRUE(shared.getSrc() == &b && shared.getTrg() == &c && other.getSrc() == &c && other.getTrg() == &b);
	Triangle2 *pT0, *pT1;
	int i0, i1;
	shared.getTriangles(pT0, pT1, i0, i1);
	EXPECT_TRUE(pT0 == &left && i0 == 0 && pT1 == &right && i1 == 1);
	border.getTriangles(pT0, pT1, i0, i1);
	EXPECT_TRUE(pT0 == &left && i0 == 1 && pT1 == nullptr && i1 == -1);
	EXPECT_TRUE(shared != other && shared == Edge2(&left, 0) && shared < border && Edge2() == Edge2(nullptr, -1));
	EXPECT_DOUBLE_EQ(Edge2(&right, 2).getLength25D(), std::sqrt(5.0));

	VertexPair2 bc(&b, &c), cb(&c, &b), ad(&a, &d);
	EXPECT_TRUE(bc == cb && bc.getP0() == cb.getP0() && std::less<Point2*>()(bc.getP0(), bc.getP1()));
	EXPECT_TRUE((bc < ad || ad < bc) && !(bc < cb || cb < bc));
	EXPECT_TRUE(ad.getSqLen2D() == 2.0 && ad.getSqLen25D() == 6.0);
}
