// Cost of evaluating a zone's rule on a triangulation of n random points cut
// by a random 200-gon: inside, outside (flood fills with barriers), global,
// a union result, and a zone made from a triangle set (grown again from its
// components' seeds). The counter "time_per_triangle" is the figure to compare.
#include "ConstraintGraph2.h"
#include "Mirel_2D.h"
#include "Segment2.h"
#include "Zone2.h"
#include "freeFunctions.h"
#include <benchmark/benchmark.h>
#include <memory>
#include <vector>

using namespace MIREL25D;

namespace {

struct Scene
{
	std::unique_ptr<Mirel_2D> pDt;
	Zone2* aZones[5];
};

// Built once per size: the scenes are large and the benchmark reads only.
Scene& sceneFor(size_t numPoints)
{
	static std::vector<std::pair<size_t, std::unique_ptr<Scene>>> vScenes;
	for(auto& entry : vScenes)
	{
		if(entry.first == numPoints) return *entry.second;
	}
	std::unique_ptr<Scene> pScene(new Scene);
	pScene->pDt.reset(new Mirel_2D(unsigned(numPoints)));
	Mirel_2D& dt(*pScene->pDt);
	std::vector<Point2> vPoints;
	generateRandomPoints(numPoints, 0.0, 1000.0, vPoints, 1);
	dt.insert(vPoints);
	std::vector<Segment2> vPolygon;
	generateRandomPolygon(200, 0.0, 1000.0, vPolygon, 2);
	ConstraintGraph2* pGraph(dt.createConstraint(vPolygon, CIS_CONSTRAINED_DELAUNAY, false));
	pScene->aZones[0] = dt.createZone(pGraph, ZL_INSIDE);
	pScene->aZones[1] = dt.createZone(pGraph, ZL_OUTSIDE);
	pScene->aZones[2] = dt.createZone(nullptr, ZL_GLOBAL);
	pScene->aZones[3] = zoneUnion(pScene->aZones[0], pScene->aZones[1]);
	std::vector<Triangle2*> vInside;
	pScene->aZones[0]->getTriangles(vInside);
	pScene->aZones[4] = dt.createZone(vInside);
	vScenes.emplace_back(numPoints, std::move(pScene));
	return *vScenes.back().second;
}

void BM_ZoneTriangles(benchmark::State& state)
{
	Zone2* pZone(sceneFor(size_t(state.range(0))).aZones[state.range(1)]);
	size_t numTriangles(0);
	for(auto _ : state)
	{
		std::vector<Triangle2*> vT;
		pZone->getTriangles(vT);
		numTriangles = vT.size();
		benchmark::DoNotOptimize(vT.data());
	}
	state.counters["triangles"] = double(numTriangles);
	state.counters["time_per_triangle"] =
		benchmark::Counter(double(state.iterations()) * double(numTriangles), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
	state.SetLabel(state.range(1) == 0 ? "inside" : state.range(1) == 1 ? "outside" : state.range(1) == 2 ? "global" : state.range(1) == 3 ? "union" : "triangle set");
}

} // namespace

BENCHMARK(BM_ZoneTriangles)->ArgsProduct({{100000, 1000000}, {0, 1, 2, 3, 4}})->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
