#pragma once
#include "MirelExportMacro.h"
#include <iosfwd>

namespace MIREL25D {

// The one value of pi in the library (M_PI is not standard C++).
constexpr double MIREL_PI(3.14159265358979323846);

// A 3-component vector (x, y and the height z), despite the name.
class MIREL_API Vector2
{
public:
	Vector2() : valX(0.0), valY(0.0), valZ(0.0) {}
	Vector2(double x_, double y_, double z_) : valX(x_), valY(y_), valZ(z_) {}

	double x() const { return valX; }
	double y() const { return valY; }
	double z() const { return valZ; }
	void set(double x_, double y_, double z_)
	{
		valX = x_;
		valY = y_;
		valZ = z_;
	}

	Vector2 operator*(double d) const { return Vector2(valX * d, valY * d, valZ * d); }
	Vector2 operator/(double d) const { return Vector2(valX / d, valY / d, valZ / d); }
	double operator*(const Vector2& other) const { return valX * other.valX + valY * other.valY + valZ * other.valZ; }
	double length() const;
	double sqLength() const { return valX * valX + valY * valY + valZ * valZ; }
	bool isDegenerate() const { return valX == 0.0 && valY == 0.0 && valZ == 0.0; }
	// Index of the component of largest magnitude; ties go to the lower index.
	int getMaxIndex() const;
	// Unit vector in the xy-plane, perpendicular to (x, y), on its left side.
	Vector2 orthogonalVector() const;

private:
	double valX, valY, valZ;
};

MIREL_API Vector2 operator*(double d, const Vector2& v);
MIREL_API Vector2 operator+(const Vector2& a, const Vector2& b);
MIREL_API Vector2 operator-(const Vector2& a, const Vector2& b);
MIREL_API Vector2 operator-(const Vector2& v);
MIREL_API Vector2 crossProduct(const Vector2& a, const Vector2& b);
MIREL_API Vector2 normalize(const Vector2& v);
MIREL_API std::ostream& operator<<(std::ostream& stream, const Vector2& v);

} // namespace MIREL25D
