#include "ConnectedComponent.h"
#include "GeomTest.h"
#include "Triangle2.h"
#include <algorithm>

namespace MIREL25D {

void ConnectedComponent::split(const std::vector<Triangle2*>& vSortedT, std::vector<ConnectedComponent>& vComponentsOut)
{
	// Position in vSortedT of a triangle of the set, or npos.
	auto positionOf = [&vSortedT](Triangle2* pT) -> size_t {
		if(pT == nullptr) return size_t(-1);
		auto it(std::lower_bound(vSortedT.begin(), vSortedT.end(), pT));
		return (it != vSortedT.end() && *it == pT) ? size_t(it - vSortedT.begin()) : size_t(-1);
	};
	std::vector<char> vVisited(vSortedT.size(), 0);
	std::vector<size_t> vWork;
	for(size_t start = 0; start < vSortedT.size(); ++start)
	{
		if(vVisited[start]) continue;
		vComponentsOut.push_back(ConnectedComponent());
		ConnectedComponent& component(vComponentsOut.back());
		vVisited[start] = 1;
		vWork.push_back(start);
		while(!vWork.empty())
		{
			Triangle2* pT(vSortedT[vWork.back()]);
			vWork.pop_back();
			component.vComponentT.push_back(pT);
			for(int i = 0; i < 3; ++i)
			{
				size_t pos(positionOf(pT->getOppositeTriangle(i)));
				if(pos == size_t(-1))
				{
					component.vBorderEdges.push_back(Edge2(pT, i));
					continue;
				}
				if(vVisited[pos]) continue;
				vVisited[pos] = 1;
				vWork.push_back(pos);
			}
		}
	}
}

void ConnectedComponent::getBorderSegments(std::vector<Segment2>& vSegmentsOut) const
{
	for(const Edge2& edge : vBorderEdges) vSegmentsOut.push_back(Segment2(*edge.getSrc(), *edge.getTrg()));
}

bool ConnectedComponent::findStartPoint(GeomTest& geomTest, Point2& startPoint) const
{
	for(Triangle2* pT : vComponentT)
	{
		const Point2& a(*pT->getCorner(0));
		const Point2& b(*pT->getCorner(1));
		const Point2& c(*pT->getCorner(2));
		Point2 center((a.x() + b.x() + c.x()) / 3.0, (a.y() + b.y() + c.y()) / 3.0, (a.z() + b.z() + c.z()) / 3.0);
		bool bStrictlyInside(true);
		for(int i = 0; i < 3 && bStrictlyInside; ++i)
		{
			if(geomTest.getOrientation2(pT, i, &center) != ORIENTATION2_CCW) bStrictlyInside = false;
		}
		if(bStrictlyInside)
		{
			startPoint = center;
			return true;
		}
	}
	return false;
}

} // namespace MIREL25D
