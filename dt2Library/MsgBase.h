#pragma once
#include "MirelExportMacro.h"

namespace MIREL25D {

enum MsgType
{
	MSG_PROGRESS = 0 // value: percent done, 0 to 100
};

// A listener that the caller owns and subscribes to a triangulation (or another
// publisher) for progress reports. Unsubscribe before destroying it.
class MIREL_API MsgBase
{
public:
	virtual ~MsgBase();
	virtual void update(MsgType msgType, double value) = 0;
};

} // namespace MIREL25D
