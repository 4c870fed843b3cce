#pragma once
#include "MirelExportMacro.h"
#include "Point2.h"
#include <iosfwd>

namespace MIREL25D {

// A circle in the xy-plane, stored with its squared radius (which is what
// circumcircle computations produce exactly enough).
class MIREL_API Circle2
{
public:
	Circle2(const Point2& center_, double sqRadius_) : center(center_), sqRadius(sqRadius_) {}
	Circle2(double x, double y, double sqRadius_) : center(x, y, 0.0), sqRadius(sqRadius_) {}

	double getSqRadius() const { return sqRadius; }
	double getRadius() const;
	Point2 getCenter() const { return center; }

private:
	friend MIREL_API std::ostream& operator<<(std::ostream& stream, const Circle2& circle);
	Point2 center;
	double sqRadius;
};

MIREL_API std::ostream& operator<<(std::ostream& stream, const Circle2& circle);

} // namespace MIREL25D
