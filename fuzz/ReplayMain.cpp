// Runs a fuzz harness over the files named on the command line, without
// libFuzzer: the regression inputs replay in every ordinary build.
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv)
{
	for(int i = 1; i < argc; ++i)
	{
		std::ifstream in(argv[i], std::ios::binary);
		if(!in)
		{
			std::fprintf(stderr, "cannot read %s\n", argv[i]);
			return 1;
		}
		std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
		LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
		std::fprintf(stderr, "replayed %s (%zu bytes)\n", argv[i], bytes.size());
	}
	return 0;
}
