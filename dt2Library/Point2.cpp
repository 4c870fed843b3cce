#include "Point2.h"
#include "tools.h"
#include <sstream>
#include <iostream>

namespace MIREL25D {

Point2 Point2::operator+(const Vector2& v) const
{
	return Point2(coordX + v.x(), coordY + v.y(), coordZ + v.z());
}

Point2 Point2::operator-(const Vector2& v) const
{
	return Point2(coordX - v.x(), coordY - v.y(), coordZ - v.z());
}

Vector2 Point2::operator-(const Point2& p) const
{
	return Vector2(coordX - p.coordX, coordY - p.coordY, coordZ - p.coordZ);
}

void Point2::print() const
{
	std::ostringstream oss;
	oss << coordX << " " << coordY << " " << coordZ << "\n";
	sendRawText(oss.str());
}

std::ostream& operator<<(std::ostream& stream, const Point2& p)
{
	stream << "Point2 (" << static_cast<const void*>(&p) << "," << p.getCustomIndex() << "): " << p.x() << ", " << p.y() << ", " << p.z();
	return stream;
}

bool Func_ltPointXYZ::operator()(const Point2& p0, const Point2& p1) const
{
	if(p0.x() != p1.x()) return p0.x() < p1.x();
	if(p0.y() != p1.y()) return p0.y() < p1.y();
	return p0.z() < p1.z();
}

double sqDistance2D(const Point2& p0, const Point2& p1)
{
	double dx(p0.x() - p1.x()), dy(p0.y() - p1.y());
	return dx * dx + dy * dy;
}

double sqDistance25D(const Point2& p0, const Point2& p1)
{
	double dx(p0.x() - p1.x()), dy(p0.y() - p1.y()), dz(p0.z() - p1.z());
	double sqDist(dx * dx + dy * dy + dz * dz);
	if(std::isnan(sqDist))
	{
		// A NaN height usually comes from a failed height interpolation upstream:
		// name both points so that the caller can trace it.
		std::ostringstream oss;
		oss << "warning, sqDistance25D, nan value, no distance\n"
			<< "p0=" << p0 << "\n"
			<< "p1=" << p1 << "\n";
		sendRawErrorText(oss.str());
	}
	return sqDist;
}

} // namespace MIREL25D
