#include "MeshGenParams.h"
#include "Zone2.h"
#include <iostream>
#include <limits>
#include <sstream>
#include "tools.h"

namespace MIREL25D {

namespace {
const double OFF(std::numeric_limits<double>::max());
}

MeshGenParams::MeshGenParams(Zone2* pZone_)
	: pHeightGuide(nullptr), reservedBound(OFF), pZone(pZone_), minAngleDegree(20.0), minEdgeLength(0.001), maxEdgeLength(OFF),
	  maxTriangleArea(OFF), bAllowConstraintSplitting(true), growFactor(OFF), growFactorMinArea(0.001), reservedFactor(10.0),
	  gridVector(), gridLength(0.0), bResetSplitRecord(true), verbosity(0)
{
	ZoneLocation zoneLoc(pZone == nullptr ? ZL_INSIDE : pZone->getZoneLocation());
	if(zoneLoc != ZL_INSIDE && zoneLoc != ZL_BOUNDED)
	{
		// Returns before the grid direction is set: refinement refuses such a zone anyway.
		{
			std::ostringstream rawText;
			rawText << "\n\n\nMeshGenParams::MeshGenParams(..), ERROR: \n\tbehavior since Mirel 1.39: The zoneLocation must be ZL_INSIDE or "
					 "ZL_BOUNDED. Please convert the zone using pZone->convertToBoundedZone(..)\n\n" << "\n";
			sendRawErrorText(rawText.str());
		}
		return;
	}
	gridVector = Vector2(1.0, 0.0, 0.0);
}

MeshGenParams::MeshGenParams(const MeshGenParams& other) = default;
MeshGenParams& MeshGenParams::operator=(const MeshGenParams& other) = default;

MeshGenParams::~MeshGenParams()
{
	pLockedConstraints.reset();
}

double MeshGenParams::getMaxTriangleArea(Triangle2* /*pT*/)
{
	return maxTriangleArea;
}

double MeshGenParams::getMaxEdgeLength(Triangle2* /*pT*/)
{
	return maxEdgeLength;
}

void MeshGenParams::addLockedConstraint(ConstraintSegment2* pConstraintSegment)
{
	if(!pLockedConstraints) pLockedConstraints = std::make_shared<std::set<ConstraintSegment2*>>();
	pLockedConstraints->insert(pConstraintSegment);
}

bool MeshGenParams::isLocked(ConstraintSegment2* pConstraintSegment) const
{
	return pLockedConstraints && pLockedConstraints->count(pConstraintSegment) != 0;
}

MyLocalParams::~MyLocalParams() {}

} // namespace MIREL25D
