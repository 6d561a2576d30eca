// norix_describe: writes the completions and the manual page of norix, from what parses its command line.

#include <cstdio>
#include <exception>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

#include "describe/BashCompletion.h"
#include "describe/ManPage.h"
#include "describe/ZshCompletion.h"

namespace norix::host {

namespace {

std::string Read(const std::string& path) {
  std::ifstream file(path);
  std::string text{std::istreambuf_iterator<char>(file), {}};
  if (!file || text.empty()) throw std::runtime_error("cannot read " + path);
  return text;
}

void Write(const std::string& path, const std::string& text) {
  std::ofstream file(path);
  file << text;
  file.close();
  if (!file) throw std::runtime_error("cannot write " + path);
}

}  // namespace

}  // namespace norix::host

int main(int argc, char** argv) {
  using namespace norix::host;
  if (argc != 3) {
    std::fputs("usage: norix_describe MANUAL.md FOLDER\n", stderr);
    return 2;
  }
  try {
    const std::string folder = argv[2];
    const CommandLineInfo info = DescribeCommandLine();
    Write(folder + "/norix.bash", BashCompletion(info));
    Write(folder + "/_norix", ZshCompletion(info));
    Write(folder + "/norix.1.md", ManPage(info, Read(argv[1])));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "norix_describe: %s\n", error.what());
    return 1;
  }
  return 0;
}
