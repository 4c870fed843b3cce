#include "Triangle2.h"
#include <sstream>
#include "GeomTest.h"
#include "tools.h"
#include <algorithm>
#include <cmath>
#include <iostream>

namespace MIREL25D {

namespace {
const double RAD_TO_DEG(57.295779513);
// Largest difference of the distances from a circumcentre to the three corners
// that still counts as accurate.
const double CC_DISTANCE_TOLERANCE(1e-6);
// The bisection stops when the squared distances to a corner and to an end of
// the longest edge differ by less than this.
const double CC_BISECTION_SQDIST_TOLERANCE(1e-16);
// Search length along the bisector when the circumcentre lies beyond the
// longest edge; the centre of a needle triangle can be very far away.
const double CC_FAR_SEARCH_LENGTH(1e13);
const int MAX_BISECTION_STEPS(2000); // t reaches the smallest subnormal long before

void printPointOrNull(std::ostream& stream, const Point2* p)
{
	if(p == nullptr) stream << "null";
	else stream << *p;
	stream << "\n";
}

// Half the sum of the coordinates of smallest and of largest magnitude: the
// circumcentre is computed relative to it so that fewer bits are lost.
double centralOffset(double c0, double c1, double c2)
{
	double smallest(c0), largest(c0);
	if(std::fabs(c1) < std::fabs(smallest)) smallest = c1;
	if(std::fabs(c2) < std::fabs(smallest)) smallest = c2;
	if(std::fabs(c1) > std::fabs(largest)) largest = c1;
	if(std::fabs(c2) > std::fabs(largest)) largest = c2;
	return (smallest + largest) / 2.0;
}

// Closed-form circumcentre of a, b, c, relative to a: the corner of the largest
// angle, so that the differences are the two shorter edges. False when the
// denominator, twice the signed double area, is exactly 0.
bool closedFormCircumcenter(const Point2& a, const Point2& b, const Point2& c, double& ccX, double& ccY)
{
	double bx(b.x() - a.x()), by(b.y() - a.y());
	double cx(c.x() - a.x()), cy(c.y() - a.y());
	double denom(2.0 * (bx * cy - by * cx));
	if(denom == 0.0) return false;
	double sqB(bx * bx + by * by), sqC(cx * cx + cy * cy);
	ccX = a.x() + (cy * sqB - by * sqC) / denom;
	ccY = a.y() + (bx * sqC - cx * sqB) / denom;
	return true;
}

// Searches the circumcentre on the perpendicular bisector of the edge e0-e1
// (the longest edge, opposite corner c) by bisection on the condition that the
// candidate is as far from c as from e0. Robust where the closed form cancels.
Point2 bisectCircumcenter(const Point2& c, const Point2& e0, const Point2& e1)
{
	Point2 mid((e0.x() + e1.x()) / 2.0, (e0.y() + e1.y()) / 2.0, 0.0);
	Vector2 edge(e1.x() - e0.x(), e1.y() - e0.y(), 0.0);
	Vector2 dir(edge.orthogonalVector());
	Vector2 toCorner(c.x() - mid.x(), c.y() - mid.y(), 0.0);
	if(dir * toCorner < 0.0) dir = -dir; // point to the side of c

	// c farther from the midpoint than the edge ends means an acute angle at c:
	// the centre lies towards c, no farther than c. Otherwise it lies beyond
	// the edge, possibly very far.
	double sqDistCorner(sqDistance2D(mid, c)), sqDistEnd(sqDistance2D(mid, e0));
	bool bCornerFarther(sqDistCorner > sqDistEnd);
	double searchLength(CC_FAR_SEARCH_LENGTH);
	if(bCornerFarther) searchLength = std::sqrt(sqDistCorner) / dir.length();
	else dir = -dir;

	Vector2 step(dir * searchLength);
	double lo(0.0), hi(1.0), t(0.5);
	for(int i = 0; i < MAX_BISECTION_STEPS; ++i)
	{
		Point2 candidate(mid + step * t);
		double diff(sqDistance2D(candidate, c) - sqDistance2D(candidate, e0));
		if(std::fabs(diff) < CC_BISECTION_SQDIST_TOLERANCE) break;
		// While the candidate has not passed the centre, the difference keeps
		// the sign it has at the midpoint.
		if((diff > 0.0) == bCornerFarther) lo = t;
		else hi = t;
		double tNext((lo + hi) / 2.0);
		if(tNext == t) break;
		t = tNext;
	}
	return mid + step * t;
}
} // namespace

int Triangle2::getIntraTriangleIndex(const Point2* a, const Point2* b) const
{
	for(int i = 0; i < 3; ++i)
	{
		const Point2* pSrc(aVertexPointer[nextIndex(i)]);
		const Point2* pTrg(aVertexPointer[prevIndex(i)]);
		if((pSrc == a && pTrg == b) || (pSrc == b && pTrg == a)) return i;
	}
	std::ostringstream oss;
	oss << "BUG: Triangle2::getIntraTriangleIndex failed for" << "\n";
	printPointOrNull(oss, a);
	printPointOrNull(oss, b);
	oss << *this;
	sendRawText(oss.str());
	return -1;
}

double Triangle2::getArea2D() const
{
	return computeArea(std::sqrt(getSquaredEdgeLength2D(0)), std::sqrt(getSquaredEdgeLength2D(1)), std::sqrt(getSquaredEdgeLength2D(2)));
}

double Triangle2::getArea25D() const
{
	return computeArea(std::sqrt(getSquaredEdgeLength25D(0)), std::sqrt(getSquaredEdgeLength25D(1)), std::sqrt(getSquaredEdgeLength25D(2)));
}

// Heron's formula: works on the edge lengths alone, hence in 2D and in 2.5D.
double Triangle2::computeArea(double len0, double len1, double len2) const
{
	double ownHalfCircf((len0 + len1 + len2) / 2.0);
	double sqArea(ownHalfCircf * (ownHalfCircf - len0) * (ownHalfCircf - len1) * (ownHalfCircf - len2));
	if(std::isnan(sqArea))
	{
		sendWarning("Triangle2::computeArea()", "invalid value, no area for this triangle");
		std::ostringstream oss;
		oss << "ownHalfCircf=" << ownHalfCircf << "\n";
		oss << "Corners are: " << "\n";
		for(int i = 0; i < 3; ++i) printPointOrNull(oss, aVertexPointer[i]);
		oss << "len0=" << len0 << "\n" << "len1=" << len1 << "\n" << "len2=" << len2 << "\n";
		sendRawText(oss.str());
		MIREL_ASSERT_PINNED(!std::isnan(sqArea), "Triangle2.cpp", 134);
	}
	// Rounding can make a degenerate triangle's square slightly negative.
	if(sqArea <= 0.0) return 0.0;
	return std::sqrt(sqArea);
}

bool Triangle2::hasVertex(const Point2& p) const
{
	return aVertexPointer[0]->samePoint(p) || aVertexPointer[1]->samePoint(p) || aVertexPointer[2]->samePoint(p);
}

bool Triangle2::hasOnEdge(int i, const Point2& q) const
{
	const Point2* pCorner(aVertexPointer[i]);
	const Point2* pSrc(aVertexPointer[nextIndex(i)]);
	const Point2* pTrg(aVertexPointer[prevIndex(i)]);
	if(getOrientation2_mt(pSrc, pTrg, &q) != ORIENTATION2_COLLINEAR) return false;
	// On the line: q is on the closed edge iff it is not beyond either end,
	// i.e. not on the outer side of the two other edges.
	if(getOrientation2_mt(pCorner, pSrc, &q) == ORIENTATION2_CW) return false;
	return getOrientation2_mt(pTrg, pCorner, &q) != ORIENTATION2_CW;
}

double Triangle2::getSquaredEdgeLength2D(int i) const
{
	return sqDistance2D(*aVertexPointer[nextIndex(i)], *aVertexPointer[prevIndex(i)]);
}

double Triangle2::getSquaredEdgeLength25D(int i) const
{
	return sqDistance25D(*aVertexPointer[nextIndex(i)], *aVertexPointer[prevIndex(i)]);
}

double Triangle2::getMaxSqEdgeLen2D() const
{
	double maxSqLen(-1.0);
	for(int i = 0; i < 3; ++i) maxSqLen = std::max(maxSqLen, getSquaredEdgeLength2D(i));
	return maxSqLen;
}

int Triangle2::getMaxIndex() const
{
	double maxSqLen(-1.0);
	int maxIndex(0);
	for(int i = 0; i < 3; ++i)
	{
		double sqLen(getSquaredEdgeLength2D(i));
		if(sqLen > maxSqLen)
		{
			maxSqLen = sqLen;
			maxIndex = i;
		}
	}
	return maxIndex;
}

int Triangle2::getMinIndex() const
{
	double minSqLen(LARGEST_DOUBLE);
	int minIndex(0);
	for(int i = 0; i < 3; ++i)
	{
		double sqLen(getSquaredEdgeLength2D(i));
		if(sqLen < minSqLen)
		{
			minSqLen = sqLen;
			minIndex = i;
		}
	}
	return minIndex;
}

Point2 Triangle2::getBarycenter() const
{
	const Point2& p0(*aVertexPointer[0]);
	const Point2& p1(*aVertexPointer[1]);
	const Point2& p2(*aVertexPointer[2]);
	return Point2((p0.x() + p1.x() + p2.x()) / 3.0, (p0.y() + p1.y() + p2.y()) / 3.0, (p0.z() + p1.z() + p2.z()) / 3.0);
}

namespace {
double angleInDegrees(Vector2 v0, Vector2 v1)
{
	double cosine((normalize(v0) * normalize(v1)));
	cosine = std::max(-1.0, std::min(1.0, cosine)); // rounding can leave [-1, 1]
	return std::acos(cosine) * RAD_TO_DEG;
}
} // namespace

double Triangle2::getInteriorAngle2D(int i) const
{
	const Point2& pCorner(*aVertexPointer[i]);
	Vector2 toNext(*aVertexPointer[nextIndex(i)] - pCorner);
	Vector2 toPrev(*aVertexPointer[prevIndex(i)] - pCorner);
	return angleInDegrees(Vector2(toNext.x(), toNext.y(), 0.0), Vector2(toPrev.x(), toPrev.y(), 0.0));
}

double Triangle2::getInteriorAngle25D(int i) const
{
	const Point2& pCorner(*aVertexPointer[i]);
	return angleInDegrees(*aVertexPointer[nextIndex(i)] - pCorner, *aVertexPointer[prevIndex(i)] - pCorner);
}

Vector2 Triangle2::getNormalVector() const
{
	const Point2& p0(*aVertexPointer[0]);
	Vector2 normal(crossProduct(*aVertexPointer[1] - p0, *aVertexPointer[2] - p0));
	double len(normal.length());
	if(len == 0.0) return normal;
	return normal / len;
}

std::pair<Point2, bool> Triangle2::getDual() const
{
	double ox(centralOffset(aVertexPointer[0]->x(), aVertexPointer[1]->x(), aVertexPointer[2]->x()));
	double oy(centralOffset(aVertexPointer[0]->y(), aVertexPointer[1]->y(), aVertexPointer[2]->y()));
	Point2 aShifted[3];
	for(int k = 0; k < 3; ++k) aShifted[k] = Point2(aVertexPointer[k]->x() - ox, aVertexPointer[k]->y() - oy, 0.0);

	// Corner i faces the longest edge and has the largest angle.
	int i(getMaxIndex());
	const Point2& shiftedCorner(aShifted[i]);
	const Point2& shiftedSrc(aShifted[nextIndex(i)]);
	const Point2& shiftedTrg(aShifted[prevIndex(i)]);
	// Both strategies give the centre the height of the longest edge's midpoint.
	double ccZ((aVertexPointer[nextIndex(i)]->z() + aVertexPointer[prevIndex(i)]->z()) / 2.0);

	double ccX(0.0), ccY(0.0);
	if(closedFormCircumcenter(shiftedCorner, shiftedSrc, shiftedTrg, ccX, ccY))
	{
		Point2 cc(ccX + ox, ccY + oy, ccZ);
		if(isAccurateCC(i, cc)) return std::make_pair(cc, true);
	}
	Point2 shiftedCC(bisectCircumcenter(shiftedCorner, shiftedSrc, shiftedTrg));
	Point2 cc(shiftedCC.x() + ox, shiftedCC.y() + oy, ccZ);
	return std::make_pair(cc, isAccurateCC(i, cc));
}

bool Triangle2::isAccurateCC(int i, const Point2& cc) const
{
	const Point2* pCorner(aVertexPointer[i]);
	const Point2* pNext(aVertexPointer[nextIndex(i)]);
	const Point2* pPrev(aVertexPointer[prevIndex(i)]);
	double dist0(std::sqrt(sqDistance2D(cc, *pCorner)));
	double dist1(std::sqrt(sqDistance2D(cc, *pNext)));
	double dist2(std::sqrt(sqDistance2D(cc, *pPrev)));
	double maxDiff(std::max(std::max(std::fabs(dist0 - dist1), std::fabs(dist0 - dist2)), std::fabs(dist1 - dist2)));
	if(!(maxDiff < CC_DISTANCE_TOLERANCE)) return false; // also rejects NaN
	// The two edges at the largest angle face acute angles: the centre lies on
	// the triangle's side of both.
	if(getOrientation2_mt(pPrev, pCorner, &cc) == ORIENTATION2_CW) return false;
	return getOrientation2_mt(pCorner, pNext, &cc) != ORIENTATION2_CW;
}

std::ostream& operator<<(std::ostream& stream, const Triangle2& t)
{
	stream << "Triangle(" << static_cast<const void*>(&t) << "): area2D=" << t.getArea2D() << ", "
		   << "area2.5D=" << t.getArea25D() << ", ";
	switch(getOrientation2_mt(t.getCorner(0), t.getCorner(1), t.getCorner(2)))
	{
		case ORIENTATION2_CCW: stream << "CCW"; break;
		case ORIENTATION2_CW: stream << "ATTENTION, CLOCKWISE CORNERS!"; break;
		default: stream << "ATTENTION, COLLINEAR CORNERS"; break;
	}
	stream << "\n";
	for(int i = 0; i < 3; ++i)
	{
		stream << i << ": " << *t.getCorner(i) << "\t oppTriangle: " << static_cast<const void*>(t.getOppositeTriangle(i)) << "\n";
	}
	return stream;
}

TriangleAroundVertexIterator::TriangleAroundVertexIterator(const Point2* p) : pCenter(p), pCurrentT(p->getIncidentTriangle()), pPrevT(nullptr)
{
	MIREL_ASSERT(pCurrentT!=nullptr);
}

TriangleAroundVertexIterator::TriangleAroundVertexIterator(Point2* p, Triangle2* pT) : pCenter(p), pCurrentT(pT), pPrevT(nullptr) {}

// Across the edge from the centre to the corner that follows it (ccw) or to
// the corner that precedes it (cw).
Triangle2* TriangleAroundVertexIterator::neighbour(const Triangle2* pT, bool bCCW) const
{
	int i(pT->getIntraTriangleIndex(pCenter));
	return pT->getOppositeTriangle(bCCW ? nextIndex(i) : prevIndex(i));
}

// At the border the fan is open: after its last triangle comes null, and after
// the null the triangle at the far end of the fan, so that iteration goes on.
Triangle2* TriangleAroundVertexIterator::step(bool bCCW) const
{
	if(pCurrentT != nullptr) return neighbour(pCurrentT, bCCW);
	if(pPrevT == nullptr) return nullptr;
	Triangle2* pFarEnd(pPrevT);
	while(true)
	{
		Triangle2* pBefore(neighbour(pFarEnd, !bCCW));
		// Stopping at pPrevT guards against an inconsistent, closed fan.
		if(pBefore == nullptr || pBefore == pPrevT) return pFarEnd;
		pFarEnd = pBefore;
	}
}

TriangleAroundVertexIterator& TriangleAroundVertexIterator::operator++()
{
	Triangle2* pNext(step(true));
	pPrevT = pCurrentT;
	pCurrentT = pNext;
	return *this;
}

TriangleAroundVertexIterator& TriangleAroundVertexIterator::operator--()
{
	Triangle2* pNext(step(false));
	pPrevT = pCurrentT;
	pCurrentT = pNext;
	return *this;
}

Triangle2* TriangleAroundVertexIterator::previewNextTriangle() const
{
	return step(true);
}

Triangle2* TriangleAroundVertexIterator::previewPrevTriangle() const
{
	return step(false);
}

} // namespace MIREL25D
