#include "Bbox2.h"
#include "GeomTest.h"
#include "tools.h"
#include <algorithm>
#include <cmath>

namespace MIREL25D {

namespace {
const double LOWEST_DOUBLE(-LARGEST_DOUBLE);

// Widens [lo, hi] to hold v; whether it changed.
inline bool widen(double v, double& lo, double& hi)
{
	if(v < lo)
	{
		lo = v;
		return true;
	}
	if(v > hi)
	{
		hi = v;
		return true;
	}
	return false;
}
} // namespace

Bbox2::Bbox2(GeomTest* pGeomTest_)
	: minX(LARGEST_DOUBLE), minY(LARGEST_DOUBLE), maxX(LOWEST_DOUBLE), maxY(LOWEST_DOUBLE), bValid(false), pGeomTest(pGeomTest_)
{}

bool Bbox2::addXY(double x, double y)
{
	if(!bValid)
	{
		// Bounds copied from another box by operator+ are kept: only bounds
		// that still hold their initial values take the point.
		if(minX == LARGEST_DOUBLE) minX = x;
		if(minY == LARGEST_DOUBLE) minY = y;
		if(maxX == LOWEST_DOUBLE) maxX = x;
		if(maxY == LOWEST_DOUBLE) maxY = y;
		bValid = true;
		return true;
	}
	bool bChangedX(widen(x, minX, maxX));
	bool bChangedY(widen(y, minY, maxY));
	return bChangedX || bChangedY;
}

bool Bbox2::add(const Point2& p)
{
	return addXY(p.x(), p.y());
}

bool Bbox2::add(size_t numPoints, double* coordinates)
{
	bool bChanged(false);
	for(size_t i = 0; i < numPoints; ++i)
	{
		if(addXY(coordinates[3 * i], coordinates[3 * i + 1])) bChanged = true;
	}
	return bChanged;
}

Bbox2 Bbox2::operator+(const Bbox2& other)
{
	if(!other.isValid())
	{
		sendWarning("Box2::operator+()", "trying to add an invalid Bbox2");
		return *this;
	}
	if(!isValid())
	{
		// The flag stays as it is: the next add only makes the box valid.
		minX = other.minX;
		minY = other.minY;
		maxX = other.maxX;
		maxY = other.maxY;
		return *this;
	}
	minX = std::min(minX, other.minX);
	minY = std::min(minY, other.minY);
	maxX = std::max(maxX, other.maxX);
	maxY = std::max(maxY, other.maxY);
	return *this;
}

bool Bbox2::isInBox(const Point2& p) const
{
	if(!bValid) return false;
	return p.x() >= minX && p.x() <= maxX && p.y() >= minY && p.y() <= maxY;
}

bool Bbox2::doIntersect(const Bbox2& other) const
{
	if(!bValid || !other.bValid)
	{
		sendWarning("Bbox2::doIntersect()", "bbox invalid");
		return false;
	}
	// Touching boxes intersect.
	if(other.maxX < minX || other.minX > maxX) return false;
	if(other.maxY < minY || other.minY > maxY) return false;
	return true;
}

Point2 Bbox2::computeCenter() const
{
	if(!bValid) sendWarning("Bbox2::computeCenter()", "Bbox2 is invalid");
	return Point2((minX + maxX) / 2.0, (minY + maxY) / 2.0, 0.0);
}

bool Bbox2::isValid() const
{
	return minX < LARGEST_DOUBLE;
}

Point2 Bbox2::getMinPoint() const
{
	return Point2(minX, minY, 0.0);
}

Point2 Bbox2::getMaxPoint() const
{
	return Point2(maxX, maxY, 0.0);
}

void Bbox2::getCorners(std::vector<Point2>& vCorners) const
{
	getOffsetCorners(0.0, vCorners);
}

void Bbox2::getOffsetCorners(double offset, std::vector<Point2>& vCorners) const
{
	double x0(minX - offset), y0(minY - offset), x1(maxX + offset), y1(maxY + offset);
	vCorners.push_back(Point2(x0, y0, 0.0));
	vCorners.push_back(Point2(x1, y0, 0.0));
	vCorners.push_back(Point2(x1, y1, 0.0));
	vCorners.push_back(Point2(x0, y1, 0.0));
}

double Bbox2::getMaxRange() const
{
	return std::max(getRangeX(), getRangeY());
}

double Bbox2::getMinCoord() const
{
	return std::min(minX, minY);
}

double Bbox2::getMaxCoord() const
{
	return std::max(maxX, maxY);
}

void Bbox2::getBounds(double& minX_, double& minY_, double& maxX_, double& maxY_) const
{
	minX_ = minX;
	minY_ = minY;
	maxX_ = maxX;
	maxY_ = maxY;
}

void Bbox2::growAboutCenter(double factor)
{
	double extraX((maxX - minX) * (factor - 1.0) / 2.0);
	double extraY((maxY - minY) * (factor - 1.0) / 2.0);
	minX -= extraX;
	maxX += extraX;
	minY -= extraY;
	maxY += extraY;
}

void Bbox2::reportRangeToGeomTest()
{
	if(pGeomTest == nullptr) return;
	double maxAbs(std::max(std::max(std::fabs(minX), std::fabs(minY)), std::max(std::fabs(maxX), std::fabs(maxY))));
	pGeomTest->setStaticBound_MT(maxAbs);
}

void Bbox2::doubleTheBox()
{
	growAboutCenter(2.0);
	reportRangeToGeomTest();
}

void Bbox2::enlargeRanges(double factor)
{
	growAboutCenter(factor);
	reportRangeToGeomTest();
}

void Bbox2::inflateIfDegenerate(double val)
{
	if(!bValid) return;
	if(minX == maxX) maxX += val;
	if(minY == maxY) maxY += val;
}

} // namespace MIREL25D
