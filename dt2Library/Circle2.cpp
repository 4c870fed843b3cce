#include "Circle2.h"
#include <cmath>
#include <iostream>

namespace MIREL25D {

double Circle2::getRadius() const
{
	return std::sqrt(sqRadius);
}

std::ostream& operator<<(std::ostream& stream, const Circle2& circle)
{
	stream << "Circle2: " << circle.center << ", r=" << circle.getRadius();
	return stream;
}

} // namespace MIREL25D
