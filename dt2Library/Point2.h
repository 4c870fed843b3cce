#pragma once
#include "MirelExportMacro.h"
#include "Vector2.h"
#include <algorithm>
#include <cmath>
#include <iosfwd>

namespace MIREL25D {

class Triangle2;

// The largest finite double: coordinates of an unset point, empty boxes, and
// measured quantities that are switched off.
constexpr double LARGEST_DOUBLE(1.7976931348623157e308);

// A point in the plane that carries a height z. Equality and order use x and y
// only: the height is payload and never reaches a predicate. A vertex of a
// triangulation knows one triangle incident to it; a copy never does.
class MIREL_API Point2
{
public:
	Point2() : coordX(-LARGEST_DOUBLE), coordY(-LARGEST_DOUBLE), coordZ(-LARGEST_DOUBLE), pIncidentT(nullptr), customIndex(-1) {}
	Point2(double x_, double y_, double z_) : coordX(x_), coordY(y_), coordZ(z_), pIncidentT(nullptr), customIndex(-1) {}
	Point2(const Point2& p) : coordX(p.coordX), coordY(p.coordY), coordZ(p.coordZ), pIncidentT(nullptr), customIndex(p.customIndex) {}
	Point2& operator=(const Point2& p)
	{
		set(p);
		return *this;
	}

	void set(const Point2& p)
	{
		coordX = p.coordX;
		coordY = p.coordY;
		coordZ = p.coordZ;
		customIndex = p.customIndex;
		pIncidentT = nullptr;
	}
	void set(double x_, double y_, double z_, int customIndex_)
	{
		coordX = x_;
		coordY = y_;
		coordZ = z_;
		customIndex = customIndex_;
		pIncidentT = nullptr;
	}
	void setCoords(double x_, double y_, double z_)
	{
		coordX = x_;
		coordY = y_;
		coordZ = z_;
	}
	void setZ(double z_) { coordZ = z_; }
	void setHeight(double z_) { coordZ = z_; }
	void setCustomIndex(int customIndex_) { customIndex = customIndex_; }
	int getCustomIndex() const { return customIndex; }
	void setIncidentTriangle(Triangle2* pT) { pIncidentT = pT; }
	Triangle2* getIncidentTriangle() const { return pIncidentT; }

	double x() const { return coordX; }
	double y() const { return coordY; }
	double z() const { return coordZ; }
	void xy(double& x_, double& y_) const
	{
		x_ = coordX;
		y_ = coordY;
	}
	void xyz(double& x_, double& y_, double& z_) const
	{
		x_ = coordX;
		y_ = coordY;
		z_ = coordZ;
	}

	bool operator==(const Point2& p) const { return coordX == p.coordX && coordY == p.coordY; }
	bool operator!=(const Point2& p) const { return !(*this == p); }
	bool operator<(const Point2& p) const { return coordX < p.coordX || (coordX == p.coordX && coordY < p.coordY); }
	bool operator>(const Point2& p) const { return p < *this; }
	bool samePoint(const Point2& p) const { return coordX == p.coordX && coordY == p.coordY && coordZ == p.coordZ; }

	Point2 operator+(const Vector2& v) const;
	Point2 operator-(const Vector2& v) const;
	Vector2 operator-(const Point2& p) const;
	double getMaxAbs() const { return std::max(std::fabs(coordX), std::fabs(coordY)); }
	void print() const;

private:
	double coordX, coordY, coordZ;
	Triangle2* pIncidentT;
	int customIndex;
};

MIREL_API std::ostream& operator<<(std::ostream& stream, const Point2& p);

// Lexicographic on (x, y, z).
struct MIREL_API Func_ltPointXYZ
{
	bool operator()(const Point2& p0, const Point2& p1) const;
};

// Squared distances. The 2.5D variant reports a NaN result on standard error.
MIREL_API double sqDistance2D(const Point2& p0, const Point2& p1);
MIREL_API double sqDistance25D(const Point2& p0, const Point2& p1);

} // namespace MIREL25D
