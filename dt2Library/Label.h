#pragma once
#include "MirelExportMacro.h"
#include "Point2.h"
#include <string>

namespace MIREL25D {

// A text placed in a drawing at a position; with bWithMark the position is
// also marked with a small cross, so that the text can name a point.
class MIREL_API Label
{
public:
	Label(const Point2& p_, const char* s_, bool bWithMark_ = true, int fontSize_ = 8);

	const char* getCS() const { return text.c_str(); }
	const Point2& getPosition() const { return position; }
	bool hasMark() const { return bWithMark; }
	int getFontSize() const { return fontSize; }

private:
	Point2 position;
	std::string text;
	bool bWithMark;
	int fontSize;
};

} // namespace MIREL25D
