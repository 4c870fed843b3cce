#include "InputCheck.h"
#include "tools.h"
#include <cmath>
#include <sstream>

namespace MIREL25D {

InputCheck::InputCheck(const char* place_, const char* noun_, Rule rule_)
	: place(place_), noun(noun_), rule(rule_), numNonFinite(0), numOutOfRange(0)
{}

bool InputCheck::accept(double x, double y, double z)
{
	if(!std::isfinite(x) || !std::isfinite(y) || !std::isfinite(z))
	{
		++numNonFinite;
		return false;
	}
	if(rule == TRIANGULATION && (std::fabs(x) > MAX_ACCEPTED_COORDINATE || std::fabs(y) > MAX_ACCEPTED_COORDINATE))
	{
		++numOutOfRange;
		return false;
	}
	return true;
}

bool InputCheck::accept(const Segment2& seg)
{
	// One refusal per segment, counted under its first bad end.
	return accept(seg.getSrc()) && accept(seg.getTrg());
}

std::string InputCheck::describe(size_t numChecked) const
{
	std::ostringstream oss;
	oss << numRefused() << " of " << numChecked << " " << noun << (numChecked == 1 ? "" : "s") << " refused:";
	if(numNonFinite > 0) oss << " " << numNonFinite << " with a NaN or infinite coordinate" << (numOutOfRange > 0 ? "," : "");
	if(numOutOfRange > 0) oss << " " << numOutOfRange << " with |x| or |y| above " << MAX_ACCEPTED_COORDINATE;
	return oss.str();
}

size_t InputCheck::report(size_t numChecked) const
{
	if(numRefused() > 0) sendWarning(place, describe(numChecked));
	return numRefused();
}

AcceptedPoints::AcceptedPoints(const std::vector<Point2>& vPoints, const char* place) : vPointsIn(vPoints), bAllAccepted(true)
{
	InputCheck check(place, "point", InputCheck::TRIANGULATION);
	// The common case costs one pass and no copy.
	size_t firstRefused(0);
	while(firstRefused < vPoints.size() && check.accept(vPoints[firstRefused])) ++firstRefused;
	if(firstRefused == vPoints.size()) return;
	bAllAccepted = false;
	vKept.reserve(vPoints.size() - 1);
	vKeptIndex.reserve(vPoints.size() - 1);
	for(size_t i = 0; i < vPoints.size(); ++i)
	{
		if(i != firstRefused && (i < firstRefused || check.accept(vPoints[i])))
		{
			vKept.push_back(vPoints[i]);
			vKeptIndex.push_back(i);
		}
	}
	check.report(vPoints.size());
}

void AcceptedPoints::spreadHandles(const std::vector<Point2*>& vKeptHandles, std::vector<Point2*>& vHandles) const
{
	if(bAllAccepted)
	{
		vHandles = vKeptHandles;
		return;
	}
	vHandles.assign(vPointsIn.size(), nullptr);
	for(size_t k = 0; k < vKeptIndex.size() && k < vKeptHandles.size(); ++k) vHandles[vKeptIndex[k]] = vKeptHandles[k];
}

} // namespace MIREL25D
