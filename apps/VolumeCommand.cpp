// mirel volume: cut and fill between the existing ground and a design
// surface, with the components as polygons.
#include "Commands.h"
#include "CutAndFill.h"
#include "GeomTest.h"
#include "MeshOutput.h"
#include "ProgressBar.h"
#include "TerrainModel.h"
#include "Visualizer2.h"
#include <algorithm>
#include <limits>
#include <set>

namespace mireltool {

using namespace MIREL25D;

namespace {
// Breaklines would be ambiguous between the two surfaces: not offered.
std::vector<OptionDef> makeOptionSpecs()
{
	std::vector<OptionDef> v(withCommonOptions(
		{
			{"ignore", 0, true, "T", "height differences up to T count as none (default 0)"},
			{"output", 0, true, "FILE", "the polygon layer of the components, with type, area and volume (default DIR/NAME_volume.gpkg); --ps draws them, --obj writes the difference surface"},
		},
		OG_TERRAIN | OG_OUTPUT | OG_FILES));
	v.erase(std::remove_if(v.begin(), v.end(), [](const OptionDef& o) { return o.longName == "breaklines"; }), v.end());
	return v;
}

const std::vector<OptionDef>& optionSpecs()
{
	static const std::vector<OptionDef> vOptionDefs(makeOptionSpecs());
	return vOptionDefs;
}

// The rings around a set of triangles, each with the set on its left: the
// outer ring counterclockwise, holes clockwise. Walked through the triangles'
// neighbourhood, so a ring that touches another at a corner stays separate.
std::vector<std::vector<Point2>> borderRings(const std::vector<Triangle2*>& vT)
{
	std::set<const Triangle2*> sIn(vT.begin(), vT.end());
	std::set<std::pair<const Triangle2*, int>> sUsed;
	auto isBorder = [&](const Triangle2* pT, int i) { return sIn.count(pT->getOppositeTriangle(i)) == 0; };
	std::vector<std::vector<Point2>> vRings;
	for(const Triangle2* pStart : vT)
	{
		for(int iStart = 0; iStart < 3; ++iStart)
		{
			if(!isBorder(pStart, iStart) || sUsed.count({pStart, iStart}) != 0) continue;
			std::vector<Point2> vRing;
			const Triangle2* pT(pStart);
			int i(iStart);
			// Edge i runs from corner i+1 to corner i+2 with pT on its left.
			while(sUsed.insert({pT, i}).second)
			{
				vRing.push_back(*pT->getCorner((i + 1) % 3));
				const Point2* pV(pT->getCorner((i + 2) % 3));
				// Turn clockwise around pV through the set to the next border edge.
				int k((i + 2) % 3);
				while(!isBorder(pT, (k + 2) % 3))
				{
					pT = pT->getOppositeTriangle((k + 2) % 3);
					k = pT->getIntraTriangleIndex(pV);
				}
				i = (k + 2) % 3;
			}
			vRings.push_back(vRing);
		}
	}
	return vRings;
}

bool isCounterclockwiseRing(const std::vector<Point2>& vRing)
{
	size_t m(size_t(std::min_element(vRing.begin(), vRing.end()) - vRing.begin()));
	const Point2& prev(vRing[(m + vRing.size() - 1) % vRing.size()]);
	const Point2& next(vRing[(m + 1) % vRing.size()]);
	return getOrientation2(&prev, &vRing[m], &next) == ORIENTATION2_CCW;
}

void volume(const ParsedOptions& opts, Summary& summary)
{
	std::vector<std::string> vInputs(getInputs(opts, {"existing terrain", "design terrain"}));
	CommonSettings s(readCommonSettings(opts, stemOf(vInputs[0])));
	double ignore(getNumber(opts, "ignore", 0.0, 0.0, std::numeric_limits<double>::max(), false));
	prepareOutputFolder(s.outputFolder);
	std::string outPath(vectorOutputPath(opts, s, "_volume.gpkg"));
	driverForFile(outPath);

	TerrainModel existing(s), design(s);
	std::vector<Point2> vExisting, vDesign;
	existing.readPoints(vInputs[0], vExisting);
	design.readPoints(vInputs[1], vDesign);
	double originX(0.0), originY(0.0);
	exactOrigin({&vExisting, &vDesign}, originX, originY);
	existing.setOrigin(originX, originY);
	design.setOrigin(originX, originY);
	existing.loadPoints(vExisting, vInputs[0]);
	design.loadPoints(vDesign, vInputs[1]);
	Bbox2 boxBefore(existing.dt().computeBoundingBox()), boxAfter(design.dt().computeBoundingBox());
	if(boxBefore.get_maxX() < boxAfter.get_minX() || boxAfter.get_maxX() < boxBefore.get_minX() || boxBefore.get_maxY() < boxAfter.get_minY() ||
		boxAfter.get_maxY() < boxBefore.get_minY())
	{
		throw InputError{vInputs[0] + " and " + vInputs[1] + ": the surfaces do not overlap"};
	}
	existing.summarize(summary, "existing_");
	design.summarize(summary, "design_");
	Zone2* pBefore(existing.getZone() != nullptr ? existing.getZone() : existing.dt().createZone(nullptr, ZL_GLOBAL, false));
	Zone2* pAfter(design.getZone() != nullptr ? design.getZone() : design.dt().createZone(nullptr, ZL_GLOBAL, false));
	CutAndFill caf(pBefore, pAfter, ignore);
	ProgressBar bar(stderr, "cut and fill");
	if(s.bProgress) caf.subscribe(MSG_PROGRESS, &bar);
	bool bOk(caf.go());
	if(s.bProgress) caf.unsubscribe(MSG_PROGRESS, &bar);
	if(!bOk) throw InputError{vInputs[0] + " and " + vInputs[1] + ": no cut and fill result (the message above says why)"};

	VectorLayerOutput layer(outPath, s.name + "_volume", GeometryKind::POLYGON, existing.getCrs(),
		{{"type", FieldType::STRING}, {"area", FieldType::REAL}, {"volume", FieldType::REAL}});
	const char* aTypeNames[] = {"null", "cut", "fill"};
	double aVolume[3] = {0.0, 0.0, 0.0}, aArea[3] = {0.0, 0.0, 0.0};
	for(uint64_t c = 0; c < caf.getNumberOfComponents(); ++c)
	{
		CAF_Component* pComponent(caf.getComponent(c));
		std::vector<Triangle2*> vT;
		pComponent->getTriangles(vT);
		double area(0.0);
		for(const Triangle2* pT : vT) area += pT->getArea2D();
		int type(pComponent->getCAFType());
		aArea[type] += area;
		aVolume[type] += pComponent->getVolume();
		// One outer ring per component: its triangles are edge-connected.
		PolygonRings polygon;
		for(std::vector<Point2>& vRing : borderRings(vT))
		{
			bool bOuter(isCounterclockwiseRing(vRing));
			for(Point2& p : vRing) p.setCoords(p.x() + originX, p.y() + originY, p.z());
			if(bOuter) polygon.vOuter.swap(vRing);
			else polygon.vHoles.push_back(vRing);
		}
		layer.addPolygon(polygon, {FieldValue::ofText(aTypeNames[type]), FieldValue::ofReal(area), FieldValue::ofReal(pComponent->getVolume())});
	}
	layer.commit();
	summary.add("cut_volume", aVolume[CT_CUT]);
	summary.add("fill_volume", aVolume[CT_FILL]);
	summary.add("net_volume_cut_minus_fill", aVolume[CT_CUT] - aVolume[CT_FILL]);
	summary.add("cut_area", aArea[CT_CUT]);
	summary.add("fill_area", aArea[CT_FILL]);
	summary.add("null_area", aArea[CT_NULL]);
	summary.addCount("components", caf.getNumberOfComponents());
	summary.addText("components_layer", layer.getFinalPath());

	// The drawing shows the components; the mesh is the difference surface.
	if(s.bPs)
	{
		PendingFile ps(s.outputFolder, s.name + ".ps");
		{
			Visualizer2 vis(ps.getTempPath().c_str());
			vis.addHeaderLine("cut (green), fill (blue) and null (red) areas");
			caf.show(&vis);
			vis.writeFile();
		}
		ps.commit();
		summary.addText("drawing", ps.getFinalPath());
	}
	if(s.bObj)
	{
		Zone2* pDiff(nullptr);
		std::map<Point2*, std::pair<double, double>> mBeforeAfter;
		std::vector<Triangle2*> vT;
		if(caf.getDiffZone(pDiff, mBeforeAfter)) pDiff->getTriangles(vT);
		PendingFile obj(s.outputFolder, s.name + ".obj");
		if(!writeObjExact(vT, obj.getTempPath(), originX, originY)) throw OutputError{obj.getFinalPath() + ": can't be written"};
		obj.commit();
		summary.addText("mesh", obj.getFinalPath());
	}
}
} // namespace

const Command volumeCommand{"volume", "cut and fill volumes between two surfaces", "EXISTING DESIGN [--boundary FILE] [OPTIONS]", optionSpecs, volume};

} // namespace mireltool
