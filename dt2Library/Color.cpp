#include "Color.h"
#include "tools.h"
#include <ostream>
#include <tuple>

namespace MIREL25D {

int Color::currentColorName(0);

namespace {
const int NUM_COLORNAMES(17);
const float COLORNAME_RGB[NUM_COLORNAMES][3] = {
	{1.0f, 0.0f, 0.0f},         // red
	{0.0f, 1.0f, 0.0f},         // green
	{0.0f, 0.0f, 1.0f},         // blue
	{0.0f, 0.0f, 0.0f},         // black
	{1.0f, 0.4f, 0.7f},         // pink
	{0.3f, 0.3f, 0.3f},         // gray
	{1.0f, 0.627f, 0.0f},       // orange
	{0.0f, 0.749f, 1.0f},       // light blue
	{0.823f, 0.705f, 0.549f},   // light brown
	{0.545f, 0.271f, 0.074f},   // dark brown
	{0.627f, 0.125f, 0.941f},   // purple
	{0.5f, 0.5f, 0.0f},         // olive
	{0.49f, 0.99f, 0.0f},       // lawn green
	{0.6f, 0.98f, 0.6f},        // pale green
	{0.0f, 1.0f, 1.0f},         // cyan
	{1.0f, 1.0f, 0.0f},         // yellow
	{1.0f, 1.0f, 1.0f}          // white
};

bool isColornameIndex(int index)
{
	return index >= 0 && index < NUM_COLORNAMES;
}
} // namespace

Color::Color(float r_, float g_, float b_, float width_, bool bFill_) : r(r_), g(g_), b(b_), width(width_), bFill(bFill_) {}

Color::Color(Colorname c, float width_, bool bFill_) : width(width_), bFill(bFill_)
{
	int index(static_cast<int>(c));
	if(!isColornameIndex(index))
	{
		sendWarning("Color::Color", "Colorname unknown, returning black");
		index = static_cast<int>(CBLACK);
	}
	r = COLORNAME_RGB[index][0];
	g = COLORNAME_RGB[index][1];
	b = COLORNAME_RGB[index][2];
}

Color::Color() : r(0.0f), g(0.0f), b(0.0f), width(0.001f), bFill(false) {}

bool Color::operator==(const Color& other) const
{
	return r == other.r && g == other.g && b == other.b && width == other.width && bFill == other.bFill;
}

bool Color::operator<(const Color& other) const
{
	return std::tie(r, g, b, width, bFill) < std::tie(other.r, other.g, other.b, other.width, other.bFill);
}

Colorname Color::getNextColorName()
{
	int index(currentColorName);
	currentColorName = (currentColorName + 1) % NUM_COLORNAMES;
	if(!isColornameIndex(index))
	{
		sendWarning("Color::getNextColorName()", "undefined color index, returning CBLACK");
		return CBLACK;
	}
	return static_cast<Colorname>(index);
}

std::ostream& operator<<(std::ostream& stream, const Color& c)
{
	stream << "Color (r,g,b): " << c.getR() << ", " << c.getG() << ", " << c.getB() << ", width=" << c.getWidth() << ", fill=" << c.isFill();
	return stream;
}

} // namespace MIREL25D
