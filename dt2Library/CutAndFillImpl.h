#pragma once
#include "CAF_Component.h"
#include "ListenerTable.h"
#include "MsgBase.h"
#include "Point2.h"
#include <cstddef>
#include <cstdint>
#include <map>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace MIREL25D {

class ConstraintGraph2;
class Dt2;
class ProgressReporter;
class Triangle2;
class Visualizer2;
class Zone2;

// The work behind CutAndFill. It builds its own triangulation, the combined
// surface: the vertices of both zones, and the edges of both as constraint
// segments, so that each of its triangles lies inside one triangle of each
// surface and both surfaces are planes over it. Every vertex then gets a
// height before and after (vertices of one surface take the other's height at
// their place; crossing vertices interpolate along both crossing edges). The
// difference before minus after becomes the vertex height; triangles whose
// corners differ in sign are split along the zero line, so every triangle is
// cut, fill or null, and connected triangles of one type form a component.
//
// Cost: the combined surface has the vertices of both zones plus one for every
// crossing of their edges (a few per vertex for unrelated triangulations);
// every stage is linear in its size, apart from the ordered height map.
class CutAndFillImpl
{
public:
	CutAndFillImpl(Zone2* pZoneBefore_, Zone2* pZoneAfter_, double ignoreThreshold_);
	~CutAndFillImpl();
	CutAndFillImpl(const CutAndFillImpl&) = delete;
	CutAndFillImpl& operator=(const CutAndFillImpl&) = delete;

	// False, with a message, for unusable input or a failure inside.
	bool go();
	size_t getNumberOfComponents() const { return vComponents.size(); }
	CAF_Component* getComponent(size_t i) const;
	bool getDiffZone(Zone2*& pDiffZone, std::map<Point2*, std::pair<double, double>>& mVtx2BeforeAfterOut) const;
	void show(Visualizer2* pVis) const;
	void subscribe(MsgType msgType, MsgBase* pListener) { mListeners.add(msgType, pListener); }
	void unsubscribe(MsgType msgType, MsgBase* pListener) { mListeners.remove(msgType, pListener); }

private:
	// Heights of a vertex of the combined surface while they are gathered.
	struct HeightPair
	{
		double before = 0.0;
		double after = 0.0;
		bool bBefore = false;
		bool bAfter = false;
	};
	// One of the two input surfaces as the combination sees it.
	struct Side
	{
		Zone2* pZone = nullptr;
		std::vector<Triangle2*> vTriangles; // address order
		ConstraintGraph2* pBorderGraph = nullptr; // oriented, the zone to the left
		ConstraintGraph2* pInnerGraph = nullptr; // the other edges
		bool bBefore = true;
		double heightTolerance = 0.0; // reach of height queries just outside the hull
	};

	bool checkInput();
	void clear();
	bool combineSurfaces();
	void insertVerticesOf(Side& side);
	void createConstraintsOf(Side& side);
	void assignHeigthsOfConstraints(const Side& side);
	bool complementHeightMap();
	bool setOneMissingHeightPair(Point2* pVtx, HeightPair& heights);
	void setCombinedHeights();
	void postRound();
	bool realCut();
	bool cutEdge(Triangle2* pT, int ith, std::vector<Triangle2*>& vWork);
	void groupT2();
	bool isCommon(Triangle2* pT) const;
	HeightPair& heightsOf(Point2* pVtx) { return mHeights[pVtx]; }

	Zone2* pZoneBefore;
	Zone2* pZoneAfter;
	double ignoreThreshold;
	Side before;
	Side after;
	Dt2* pCombinedDt;
	Zone2* pCombinedZone;
	std::unordered_map<Point2*, HeightPair> mHeights; // while the surface is combined
	std::vector<Triangle2*> vCommonT; // address order, as found before the cuts
	std::unordered_set<Triangle2*> sAddedCommonT; // made by the cuts inside the common area
	std::vector<Triangle2*> vFinalT; // address order, after the cuts
	std::map<Point2*, std::pair<double, double>> mVtx2BeforeAfter;
	std::vector<CAF_Component*> vComponents;
	ListenerTable mListeners;
};

} // namespace MIREL25D
