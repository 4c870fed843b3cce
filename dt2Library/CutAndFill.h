#pragma once
#include "CAF_Component.h"
#include "MirelExportMacro.h"
#include "MsgBase.h"
#include "Point2.h"
#include <cstdint>
#include <map>
#include <utility>

namespace MIREL25D {

class CutAndFillImpl;
class Visualizer2;
class Zone2;

// Earthwork volumes between two terrain surfaces: a zone of the surface
// before and a zone of the surface after, normally of two different
// triangulations. go() splits the area the two zones have in common into
// connected components where material is removed (CT_CUT: before lies above
// after), added (CT_FILL) or where both agree (CT_NULL), each with its volume.
// Vertex differences whose magnitude is at most ignoreThreshold count as no
// difference (the volumes are still those between the true surfaces).
//
// For surfaces made of triangles the volumes are exact up to the rounding of
// the crossing points: the work happens on a combined triangulation over the
// common area that holds the edges of both surfaces and the zero lines.
// Cost: linear in the size of that triangulation (the vertices of both zones
// plus a few crossing vertices per vertex), plus an ordered map of its vertices.
class MIREL_API CutAndFill
{
public:
	// The zones must stay alive (and unchanged) until go() returns.
	CutAndFill(Zone2* pZoneBefore, Zone2* pZoneAfter, double ignoreThreshold = 0.0);
	~CutAndFill();
	CutAndFill(const CutAndFill&) = delete;
	CutAndFill& operator=(const CutAndFill&) = delete;

	// Computes the components; false, with a message, for a null or empty
	// zone, zones without a common area, a bad threshold or an internal failure
	// (then there are no components). A second call computes afresh.
	bool go();
	uint64_t getNumberOfComponents() const;
	// index must be below getNumberOfComponents().
	CAF_Component* getComponent(uint64_t index) const;
	// The combined triangulation's zone over the common area, the height of
	// each vertex being before minus after (0 where within the threshold), and
	// for each of its vertices the heights (before, after). The zone and the
	// vertices live as long as this object. False and a null zone before a
	// successful go().
	bool getDiffZone(Zone2*& pDiffZone, std::map<Point2*, std::pair<double, double>>& mVtx2BeforeAfter);
	// Draws the components filled (null red, cut green, fill blue) with their
	// borders in black, into the caller's drawing.
	void show(Visualizer2* pVis) const;
	// Progress of go() to MSG_PROGRESS listeners.
	void subscribe(MsgType msgType, MsgBase* pListener);
	void unsubscribe(MsgType msgType, MsgBase* pListener);

private:
	CutAndFillImpl* pImpl;
};

} // namespace MIREL25D
