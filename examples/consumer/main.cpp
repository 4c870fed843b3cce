// The README's usage example, built against the installed package: a broken
// install or a changed interface fails here first.
#include "Mirel25D.h"
#include <iostream>
#include <vector>
using namespace MIREL25D;

int main()
{
	std::cout << getMirel2DVersion() << std::endl;
	std::vector<Point2> vPoints{Point2(0, 0, 10), Point2(100, 0, 12), Point2(100, 100, 15), Point2(0, 100, 11), Point2(40, 60, 20)};
	Mirel_2D dt(static_cast<unsigned int>(vPoints.size()));
	dt.insert(vPoints);
	std::vector<Triangle2*> vTriangles;
	dt.getTrianglePointers(vTriangles);
	for(Triangle2* pT : vTriangles)
		std::cout << *pT->getCorner(0) << " " << *pT->getCorner(1) << " " << *pT->getCorner(2) << std::endl;
	// Five points, four of them on the hull: 2n - 2 - h = 4 triangles.
	return vTriangles.size() == 4 ? 0 : 1;
}
