#include "Vector2.h"
#include "GeomTest.h"
#include "Point2.h"
#include "tools.h"
#include <cmath>
#include <iostream>

namespace MIREL25D {

double Vector2::length() const
{
	return std::sqrt(sqLength());
}

int Vector2::getMaxIndex() const
{
	double ax(std::fabs(valX)), ay(std::fabs(valY)), az(std::fabs(valZ));
	// Each test fails against a NaN component, so a NaN leaves no candidate.
	if(ax >= ay && ax >= az) return 0;
	if(ay >= ax && ay >= az) return 1;
	if(az >= ax && az >= ay) return 2;
	MIREL_ASSERT(false);
}

Vector2 Vector2::orthogonalVector() const
{
	if(valX == 0.0 && valY == 0.0) return Vector2();
	// Divide by the larger component so that the quotient stays in [-1, 1].
	Vector2 candidate;
	if(std::fabs(valX) <= std::fabs(valY)) candidate.set(1.0, -valX / valY, 0.0);
	else candidate.set(-valY / valX, 1.0, 0.0);
	candidate = normalize(candidate);

	// The construction fixes the line, not the side: the exact orientation test
	// decides whether it already points to the left of (x, y).
	Point2 origin(0.0, 0.0, 0.0), tip(valX, valY, 0.0), side(candidate.x(), candidate.y(), 0.0);
	Orientation2 ori(getOrientation2(&origin, &tip, &side));
	MIREL_ASSERT(ori!=ORIENTATION2_COLLINEAR);
	if(ori == ORIENTATION2_CCW) return candidate;
	return -candidate;
}

Vector2 operator*(double d, const Vector2& v)
{
	return Vector2(d * v.x(), d * v.y(), d * v.z());
}

Vector2 operator+(const Vector2& a, const Vector2& b)
{
	return Vector2(a.x() + b.x(), a.y() + b.y(), a.z() + b.z());
}

Vector2 operator-(const Vector2& a, const Vector2& b)
{
	return Vector2(a.x() - b.x(), a.y() - b.y(), a.z() - b.z());
}

Vector2 operator-(const Vector2& v)
{
	return Vector2(-v.x(), -v.y(), -v.z());
}

Vector2 crossProduct(const Vector2& a, const Vector2& b)
{
	return Vector2(a.y() * b.z() - a.z() * b.y(), a.z() * b.x() - a.x() * b.z(), a.x() * b.y() - a.y() * b.x());
}

Vector2 normalize(const Vector2& v)
{
	double len(v.length());
	if(len > 0.0) return v / len;
	return Vector2();
}

std::ostream& operator<<(std::ostream& stream, const Vector2& v)
{
	stream << "Vector2: " << v.x() << ", " << v.y() << ", " << v.z();
	return stream;
}

} // namespace MIREL25D
