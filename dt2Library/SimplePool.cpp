#include "SimplePool.h"
#include <iostream>

namespace MIREL25D {

void reportPoolInitTwice()
{
	std::cout << "SimplePool::init(..), ERROR: This pool is already initialized" << std::endl;
}

void reportPoolOutOfMemory()
{
	std::cout << "SimplePool::alloc(..), ERROR: Out of memory" << std::endl;
}

} // namespace MIREL25D
