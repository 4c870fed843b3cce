#pragma once
#include "MsgBase.h"
#include <cstdio>
#include <string>

namespace mireltool {

// A text progress bar on a terminal stream, fed by the library's progress
// reports: "  insert [##########..........]  50%". The line is redrawn in
// place and closed with a line feed at 100 %.
class ProgressBar : public MIREL25D::MsgBase
{
public:
	ProgressBar(std::FILE* pStream_, const std::string& label_);
	void update(MIREL25D::MsgType msgType, double value) override;
	void setLabel(const std::string& label_) { label = label_; }

private:
	std::FILE* pStream;
	std::string label;
	int lastPercent;
};

} // namespace mireltool
