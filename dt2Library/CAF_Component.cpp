#include "CAF_Component.h"
#include "Triangle2.h"
#include "Visualizer3.h"
#include "tools.h"
#include <algorithm>
#include <cmath>

namespace MIREL25D {

namespace {

// Neumaier's compensated sum: millions of prism volumes of both signs add up
// without the rounding of the running total piling up.
class CompensatedSum
{
public:
	void add(double value)
	{
		double t(sum + value);
		if(std::fabs(sum) >= std::fabs(value)) compensation += (sum - t) + value;
		else compensation += (value - t) + sum;
		sum = t;
	}
	double get() const { return sum + compensation; }

private:
	double sum = 0.0;
	double compensation = 0.0;
};

} // namespace

CAF_Component::CAF_Component(const std::vector<Triangle2*>& vTriangles_, const std::map<Point2*, std::pair<double, double>>& mVtx2BeforeAfter,
	CAFTYP cafType_, int label_)
	: vTriangles(vTriangles_), cafType(cafType_), label(label_), volume(0.0)
{
	std::sort(vTriangles.begin(), vTriangles.end());
	setVolume(mVtx2BeforeAfter);
	setBorder();
}

void CAF_Component::setVolume(const std::map<Point2*, std::pair<double, double>>& mVtx2BeforeAfter)
{
	volume = 0.0;
	if(cafType == CT_NULL) return;
	// Over a triangle both surfaces are planes, so the solid between them is a
	// prism with a slanted top and bottom: its volume is the 2D area times the
	// mean of the three corner differences.
	CompensatedSum sum;
	for(Triangle2* pT : vTriangles)
	{
		double aDiff[3];
		for(int i = 0; i < 3; ++i)
		{
			auto q_it(mVtx2BeforeAfter.find(pT->getCorner(i)));
			MIREL_ASSERT(q_it!=mVtx2BeforeAfter.end());
			aDiff[i] = q_it->second.first - q_it->second.second;
		}
		const Point2* p0(pT->getCorner(0));
		const Point2* p1(pT->getCorner(1));
		const Point2* p2(pT->getCorner(2));
		double twiceArea((p1->x() - p0->x()) * (p2->y() - p0->y()) - (p1->y() - p0->y()) * (p2->x() - p0->x()));
		sum.add(twiceArea * (aDiff[0] + aDiff[1] + aDiff[2]) / 6.0);
	}
	volume = (cafType == CT_FILL) ? -sum.get() : sum.get();
}

void CAF_Component::setBorder()
{
	vBorder.clear();
	for(Triangle2* pT : vTriangles)
	{
		for(int i = 0; i < 3; ++i)
		{
			Triangle2* pNeigh(pT->getOppositeTriangle(i));
			if(pNeigh != nullptr && std::binary_search(vTriangles.begin(), vTriangles.end(), pNeigh)) continue;
			vBorder.push_back(Segment2(*pT->getCorner(nextIndex(i)), *pT->getCorner(prevIndex(i))));
		}
	}
}

void CAF_Component::getTriangles(std::vector<Triangle2*>& vTrianglesOut) const
{
	vTrianglesOut.insert(vTrianglesOut.end(), vTriangles.begin(), vTriangles.end());
}

void CAF_Component::getBorder(std::vector<Segment2>& vBorderOut) const
{
	vBorderOut.insert(vBorderOut.end(), vBorder.begin(), vBorder.end());
}

bool CAF_Component::showGeomview(const std::string& baseName) const
{
	if(baseName.empty())
	{
		sendError("CAF_Component::showGeomview()", "empty file name, nothing written");
		return false;
	}
	const char* suffix(cafType == CT_CUT ? "_cut.list" : (cafType == CT_FILL ? "_fill.list" : "_null.list"));
	const char* color(cafType == CT_CUT ? "0 1 0 0.5" : (cafType == CT_FILL ? "0 0 1 0.5" : "1 0 0 0.5"));
	Visualizer3 vis((baseName + suffix).c_str());
	vis.writeTriangles(vTriangles, color, false);
	return vis.closeFile();
}

} // namespace MIREL25D
