// Cost per call of the filtered predicates: on random inputs (the filter
// decides) and on gridded, degenerate inputs (the exact stages decide). The
// counter "time_per_call" is the figure to compare.
#include "GeomTest.h"
#include <benchmark/benchmark.h>
#include <random>
#include <vector>

using namespace MIREL25D;

namespace {

const int NUM_CASES(1 << 12);

struct OrientationCase
{
	Point2 a, b, c;
};
struct InCircleCase
{
	Point2 a, b, c, d;
};

void reportPerCall(benchmark::State& state)
{
	state.counters["time_per_call"] = benchmark::Counter(double(state.iterations()) * NUM_CASES, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

// kind 0: random triples. kind 1: on the integer grid, triples on one grid line
// (every call needs the exact stage) mixed with random grid triples. kind 2:
// third points computed in doubles on the line through the first two, with
// fractional coordinates, so that the rational stage decides most calls.
std::vector<OrientationCase> makeOrientationCases(int kind)
{
	bool gridded(kind == 1);
	std::mt19937 rng(7);
	std::uniform_real_distribution<double> coord(0, 1000);
	std::uniform_int_distribution<int> cell(0, 31), step(-3, 3);
	std::vector<OrientationCase> cases;
	while(int(cases.size()) < NUM_CASES)
	{
		if(kind == 2)
		{
			Point2 a(coord(rng), coord(rng), 0), b(coord(rng), coord(rng), 0);
			double t(coord(rng) / 1000);
			cases.push_back({a, b, Point2(a.x() + t * (b.x() - a.x()), a.y() + t * (b.y() - a.y()), 0)});
			continue;
		}
		if(!gridded)
		{
			cases.push_back({Point2(coord(rng), coord(rng), 0), Point2(coord(rng), coord(rng), 0), Point2(coord(rng), coord(rng), 0)});
			continue;
		}
		int x(cell(rng)), y(cell(rng)), dx(step(rng)), dy(step(rng)), k(step(rng));
		if(cases.size() % 2)
			cases.push_back({Point2(x, y, 0), Point2(x + dx, y + dy, 0), Point2(x + k * dx, y + k * dy, 0)});
		else
			cases.push_back({Point2(x, y, 0), Point2(cell(rng), cell(rng), 0), Point2(cell(rng), cell(rng), 0)});
	}
	return cases;
}

// Random triangles with a random query point, or cocircular grid quadruples:
// half axis-parallel rectangles, half lattice points on circles of radius 5.
std::vector<InCircleCase> makeInCircleCases(bool gridded)
{
	std::mt19937 rng(11);
	std::uniform_real_distribution<double> coord(0, 1000);
	std::uniform_int_distribution<int> cell(0, 31), side(1, 5);
	const int ring[12][2] = {{5, 0}, {4, 3}, {3, 4}, {0, 5}, {-3, 4}, {-4, 3}, {-5, 0}, {-4, -3}, {-3, -4}, {0, -5}, {3, -4}, {4, -3}};
	std::vector<InCircleCase> cases;
	GeomTest gt;
	while(int(cases.size()) < NUM_CASES)
	{
		InCircleCase c;
		if(!gridded)
			c = {Point2(coord(rng), coord(rng), 0), Point2(coord(rng), coord(rng), 0), Point2(coord(rng), coord(rng), 0), Point2(coord(rng), coord(rng), 0)};
		else if(cases.size() % 2)
		{
			double x(cell(rng)), y(cell(rng)), w(side(rng)), h(side(rng));
			c = {Point2(x, y, 0), Point2(x + w, y, 0), Point2(x + w, y + h, 0), Point2(x, y + h, 0)};
		}
		else
		{
			double x(cell(rng)), y(cell(rng));
			int i0(int(rng() % 12)), i1((i0 + 1 + rng() % 3) % 12), i2((i1 + 1 + rng() % 3) % 12), i3((i2 + 1 + rng() % 3) % 12);
			auto at = [&](int i) { return Point2(x + ring[i][0], y + ring[i][1], 0); };
			c = {at(i0), at(i1), at(i2), at(i3)};
		}
		if(gt.getOrientation2(&c.a, &c.b, &c.c) == ORIENTATION2_CW) std::swap(c.a, c.b);
		if(gt.getOrientation2(&c.a, &c.b, &c.c) == ORIENTATION2_CCW) cases.push_back(c);
	}
	return cases;
}

void BM_Orientation(benchmark::State& state)
{
	std::vector<OrientationCase> cases(makeOrientationCases(int(state.range(0))));
	GeomTest gt;
	gt.setStaticBound_MT(1000);
	for(auto _ : state)
		for(const OrientationCase& c : cases) benchmark::DoNotOptimize(gt.getOrientation2(&c.a, &c.b, &c.c));
	reportPerCall(state);
}

void BM_InCircle(benchmark::State& state)
{
	std::vector<InCircleCase> cases(makeInCircleCases(state.range(0) != 0));
	std::vector<Triangle2> triangles;
	for(InCircleCase& c : cases) triangles.emplace_back(&c.a, &c.b, &c.c);
	GeomTest gt;
	for(auto _ : state)
		for(int i = 0; i < NUM_CASES; ++i) benchmark::DoNotOptimize(gt.circleInc3state(&triangles[i], &cases[i].d));
	reportPerCall(state);
}

} // namespace

BENCHMARK(BM_Orientation)->ArgName("random0_grid1_online2")->Arg(0)->Arg(1)->Arg(2);
BENCHMARK(BM_InCircle)->ArgName("gridded")->Arg(0)->Arg(1);
BENCHMARK_MAIN();
