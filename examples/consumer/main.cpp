#include "Mirel25D.h"
#include <iostream>

int main()
{
	std::cout << MIREL25D::getMirel2DVersion() << std::endl;
	return 0;
}
