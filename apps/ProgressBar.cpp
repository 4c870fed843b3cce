#include "ProgressBar.h"
#include <string>

namespace mireltool {

namespace {
const int BAR_WIDTH(40);
}

ProgressBar::ProgressBar(std::FILE* pStream_, const std::string& label_) : pStream(pStream_), label(label_), lastPercent(-1) {}

void ProgressBar::update(MIREL25D::MsgType msgType, double value)
{
	if(msgType != MIREL25D::MSG_PROGRESS) return;
	int percent(value <= 0.0 ? 0 : (value >= 100.0 ? 100 : static_cast<int>(value)));
	// A new operation starts again at 0.
	if(percent == lastPercent) return;
	int numFilled(percent * BAR_WIDTH / 100);
	std::string bar(size_t(numFilled), '#');
	bar.append(size_t(BAR_WIDTH - numFilled), '.');
	std::fprintf(pStream, "\r  %-12s [%s] %3d%%", label.c_str(), bar.c_str(), percent);
	if(percent == 100) std::fputc('\n', pStream);
	std::fflush(pStream);
	lastPercent = percent == 100 ? -1 : percent;
}

} // namespace mireltool
