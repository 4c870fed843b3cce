// Every input under tests/regression is a small script named after a fault it
// once caught. Each runs through the facade, once sequentially and once with
// four threads (unless it sets its own thread count), and the result goes
// through the shared exact validator, plus the handle rule (each input point
// maps to the vertex at its place, which keeps the first height given there).
//
// Script lines (one command a line, '#' starts a comment):
//   threads N                      thread count for later batches
//   point X Y Z                    one point into the pending batch
//   repeat N X Y                   N copies of one place, heights 0..N-1
//   random N SEED LO HI            N uniform points in [LO, HI]^2
//   grid NX NY STEP OFFSET         an NX x NY grid
//   line N X0 Y0 DX DY             N points X0 + i*DX, Y0 + i*DY
//   circle N SCALE                 N exactly cocircular points about the origin
//   insert                         inserts the pending batch in one call
//   single X Y Z                   one insertion on its own
//   singles N SEED LO HI           N single insertions at integer places in [LO, HI]^2
//   remove-singles K               removes every K-th vertex that `singles` made
//   segment X0 Y0 X1 Y1            a constraint segment (heights 0), pending
//   constrain CIS                  creates the pending segments as one graph
//   remove X Y                     removes the vertex at the place (a constraint
//                                  vertex must stay)
//   check                          validates now (the end of a script checks too)
#include "test_support.h"
#include <filesystem>

using namespace MIREL25D;

namespace {

struct ScriptRun
{
	Mirel_2D dt{100};
	std::vector<Point2> vPending;
	std::vector<Segment2> vPendingSegments;
	std::map<Point2, std::pair<Point2*, double>> mPlace; // vertex and first height at each place
	std::vector<Point2> vSinglePlaces; // places that `singles` gave a new vertex
	bool bConstraints = false;

	// The exact validator; every tracked place still has its vertex, and
	// without constraints (whose crossings add vertices) there is no other.
	void check()
	{
		mtest::validateMesh(*dt.getImpl(), mtest::EmptyCircles::exceptConstraints);
		std::vector<Point2*> vVtx;
		dt.getVertexPointers(vVtx);
		std::set<Point2*> sVtx(vVtx.begin(), vVtx.end());
		for(const auto& place : mPlace) ASSERT_EQ(sVtx.count(place.second.first), 1u) << "vertex lost at " << place.first;
		if(!bConstraints)
		{
			ASSERT_EQ(vVtx.size(), mPlace.size()) << "a vertex at no input place";
		}
	}

	void expectHandle(const Point2& p, Point2* pHandle)
	{
		ASSERT_NE(pHandle, nullptr);
		ASSERT_TRUE(*pHandle == p);
		auto ins(mPlace.emplace(p, std::make_pair(pHandle, p.z())));
		ASSERT_EQ(ins.first->second.first, pHandle) << "one place, two vertices: " << p;
		ASSERT_EQ(pHandle->z(), ins.first->second.second) << "the first height must win at " << p;
	}

	void run(std::istream& in)
	{
		std::string line;
		while(std::getline(in, line))
		{
			std::istringstream ss(line.substr(0, line.find('#')));
			std::string cmd;
			if(!(ss >> cmd)) continue;
			double x, y, z, x1, y1, lo, hi;
			int n, m;
			if(cmd == "threads" && ss >> n) dt.setNumCPU(n);
			else if(cmd == "point" && ss >> x >> y >> z) vPending.emplace_back(x, y, z);
			else if(cmd == "repeat" && ss >> n >> x >> y)
				for(int i = 0; i < n; ++i) vPending.emplace_back(x, y, double(i));
			else if(cmd == "random" && ss >> n >> m >> lo >> hi)
			{
				std::mt19937 rng(static_cast<unsigned>(m));
				std::vector<Point2> v(mtest::uniformPoints(rng, size_t(n), lo, hi));
				vPending.insert(vPending.end(), v.begin(), v.end());
			}
			else if(cmd == "grid" && ss >> n >> m >> x >> y)
			{
				std::vector<Point2> v(mtest::gridPoints(n, m, x, y));
				vPending.insert(vPending.end(), v.begin(), v.end());
			}
			else if(cmd == "line" && ss >> n >> x >> y >> x1 >> y1)
				for(int i = 0; i < n; ++i) vPending.emplace_back(x + i * x1, y + i * y1, double(i));
			else if(cmd == "circle" && ss >> n >> x)
			{
				std::vector<Point2> v(mtest::circlePoints(size_t(n), x));
				vPending.insert(vPending.end(), v.begin(), v.end());
			}
			else if(cmd == "insert") insertPending();
			else if(cmd == "singles" && ss >> n >> m >> lo >> hi)
			{
				std::mt19937 rng(static_cast<unsigned>(m));
				std::uniform_int_distribution<int> coord(static_cast<int>(lo), static_cast<int>(hi));
				for(int i = 0; i < n && !::testing::Test::HasFatalFailure(); ++i)
				{
					Point2 p(coord(rng), coord(rng), 1000.0 + i);
					if(mPlace.count(p) == 0) vSinglePlaces.push_back(p);
					expectHandle(p, dt.insert(p));
				}
			}
			else if(cmd == "remove-singles" && ss >> n)
				for(size_t i = 0; i < vSinglePlaces.size(); i += size_t(n)) removeAt(vSinglePlaces[i]);
			else if(cmd == "single" && ss >> x >> y >> z) expectHandle(Point2(x, y, z), dt.insert(Point2(x, y, z)));
			else if(cmd == "segment" && ss >> x >> y >> x1 >> y1) vPendingSegments.emplace_back(Point2(x, y, 0), Point2(x1, y1, 0));
			else if(cmd == "constrain" && ss >> n)
			{
				bConstraints = true;
				ASSERT_NE(dt.createConstraint(vPendingSegments, ConstraintInsertionStrategy(n), false), nullptr);
				vPendingSegments.clear();
			}
			else if(cmd == "remove" && ss >> x >> y) removeAt(Point2(x, y, 0));
			else if(cmd == "check") check();
			else FAIL() << "unreadable script line: " << line;
			if(::testing::Test::HasFatalFailure()) return;
		}
	}

	void insertPending()
	{
		std::vector<Point2*> vHandles;
		dt.insert(vPending, vHandles);
		ASSERT_EQ(vHandles.size(), vPending.size());
		for(size_t i = 0; i < vPending.size(); ++i) expectHandle(vPending[i], vHandles[i]);
		vPending.clear();
	}

	void removeAt(const Point2& place)
	{
		Triangle2* pT(dt.locate(place));
		ASSERT_NE(pT, nullptr);
		Point2* pVtx(nullptr);
		for(int i = 0; i < 3; ++i)
			if(*pT->getCorner(i) == place) pVtx = pT->getCorner(i);
		ASSERT_NE(pVtx, nullptr) << "no vertex at " << place;
		bool bConstraintVertex(dt.isConstraint(pVtx));
		std::string out(mtest::captureStdout([&] { dt.remove(pVtx); }));
		if(bConstraintVertex)
		{
			ASSERT_NE(out.find("Can't remove a constraint vertex"), std::string::npos);
			return;
		}
		mPlace.erase(place);
	}
};

} // namespace

// "Parallel" in the name: the thread-sanitizer stage selects it.
TEST(Regression, EveryRecordedInputStaysValidSequentialAndParallel)
{
	std::vector<std::filesystem::path> vScripts;
	for(const auto& entry : std::filesystem::directory_iterator(MIREL_REGRESSION_DIR))
		if(entry.path().extension() == ".txt") vScripts.push_back(entry.path());
	std::sort(vScripts.begin(), vScripts.end());
	ASSERT_FALSE(vScripts.empty());
	for(const std::filesystem::path& script : vScripts)
		for(int numCPU : {1, 4})
		{
			SCOPED_TRACE(script.filename().string() + " with " + std::to_string(numCPU) + " threads");
			ScriptRun run;
			run.dt.setNumCPU(numCPU);
			std::ifstream in(script);
			run.run(in);
			if(!HasFatalFailure()) run.check();
			if(HasFatalFailure()) return;
		}
}
