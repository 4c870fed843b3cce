#include "SimplePool.h"
#include "tools.h"

namespace MIREL25D {

void reportPoolInitTwice()
{
	sendRawText("SimplePool::init(..), ERROR: This pool is already initialized\n");
}

// Running out of memory in the middle of an insertion leaves no consistent
// mesh to return to: the banner, instead of a null that a caller would use.
void reportPoolOutOfMemory()
{
	sendRawText("SimplePool::alloc(..), ERROR: Out of memory\n");
	bool bPoolGotMemory(false);
	MIREL_ASSERT(bPoolGotMemory);
}

} // namespace MIREL25D
