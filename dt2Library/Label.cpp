#include "Label.h"

namespace MIREL25D {

Label::Label(const Point2& p_, const char* s_, bool bWithMark_, int fontSize_)
	: position(p_), text(s_ != nullptr ? s_ : ""), bWithMark(bWithMark_), fontSize(fontSize_)
{}

} // namespace MIREL25D
