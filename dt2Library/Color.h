#pragma once
#include "MirelExportMacro.h"
#include <iosfwd>

namespace MIREL25D {

// The named colours of the drawings, values 0 to 16.
enum Colorname
{
	CRED = 0,
	CGREEN = 1,
	CBLUE = 2,
	CBLACK = 3,
	CPINK = 4,
	CGRAY = 5,
	CORANGE = 6,
	CLIGHTBLUE = 7,
	CLIGHTBROWN = 8,
	CDARKBROWN = 9,
	CPURPLE = 10,
	COLIVE = 11,
	CLAWNGREEN = 12,
	CPALEGREEN = 13,
	CCYAN = 14,
	CYELLOW = 15,
	CWHITE = 16
};

// A drawing colour: red, green and blue in 0..1, the line width in page units
// and whether shapes are filled (triangles, circles) or marked at their end
// points (segments).
class MIREL_API Color
{
public:
	Color(float r_, float g_, float b_, float width_ = 0.001f, bool bFill_ = false);
	Color(Colorname c, float width_ = 0.001f, bool bFill_ = false);
	// Black, thinnest line, not filled.
	Color();

	float getR() const { return r; }
	float getG() const { return g; }
	float getB() const { return b; }
	float getWidth() const { return width; }
	bool isFill() const { return bFill; }

	bool operator==(const Color& other) const;
	bool operator!=(const Color& other) const { return !(*this == other); }
	// Lexicographic on red, green, blue, width, fill.
	bool operator<(const Color& other) const;

	// Cycles through the 17 names, one step per call; distinct colours for
	// successive layers of a drawing.
	static Colorname getNextColorName();

private:
	float r, g, b;
	float width;
	bool bFill;
	static int currentColorName;
};

MIREL_API std::ostream& operator<<(std::ostream& stream, const Color& c);

} // namespace MIREL25D
