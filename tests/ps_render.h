#pragma once
// Rendering PostScript drawings with Ghostscript, for tests that check that a
// written drawing is valid and shows something.
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

namespace psrender {

inline std::string readFile(const std::string& name)
{
	std::ifstream in(name, std::ios::binary);
	std::stringstream ss;
	ss << in.rdbuf();
	return ss.str();
}

inline bool ghostscriptAvailable()
{
	return std::system("gs --version > /dev/null 2>&1") == 0;
}

// A raw PPM image: width, height and RGB bytes.
struct Image
{
	int width = 0, height = 0;
	std::string rgb;
};

inline bool readPPM(const std::string& name, Image& img)
{
	std::ifstream in(name, std::ios::binary);
	std::string magic;
	in >> magic;
	if(magic != "P6") return false;
	int values[3];
	for(int i = 0; i < 3; ++i)
	{
		in >> std::ws;
		while(in.peek() == '#')
		{
			std::string comment;
			std::getline(in, comment);
			in >> std::ws;
		}
		in >> values[i];
	}
	in.get(); // the single whitespace before the pixels
	img.width = values[0];
	img.height = values[1];
	img.rgb.resize(size_t(img.width) * img.height * 3);
	in.read(&img.rgb[0], std::streamsize(img.rgb.size()));
	return bool(in) && values[2] == 255;
}

// Renders psFile with Ghostscript at the given resolution into `image` (and
// into pngFile, for looking at it). False, with Ghostscript's output in log,
// if Ghostscript fails or reports an error.
inline bool render(const std::string& psFile, const std::string& pngFile, int dpi, Image& image, std::string& log)
{
	std::string base("gs -q -dSAFER -dBATCH -dNOPAUSE -r" + std::to_string(dpi) + " ");
	std::string ppmFile(psFile + ".ppm"), logFile(psFile + ".gs.log");
	if(std::system((base + "-sDEVICE=png16m -sOutputFile=" + pngFile + " " + psFile + " > " + logFile + " 2>&1").c_str()) != 0)
	{
		log = readFile(logFile);
		return false;
	}
	bool bOk(std::system((base + "-sDEVICE=ppmraw -sOutputFile=" + ppmFile + " " + psFile + " >> " + logFile + " 2>&1").c_str()) == 0);
	log = readFile(logFile);
	return bOk && log.find("Error") == std::string::npos && readPPM(ppmFile, image);
}

inline size_t countNonWhite(const Image& img)
{
	size_t n(0);
	for(size_t i = 0; i + 2 < img.rgb.size(); i += 3)
	{
		if(img.rgb[i] != char(255) || img.rgb[i + 1] != char(255) || img.rgb[i + 2] != char(255)) ++n;
	}
	return n;
}

} // namespace psrender
