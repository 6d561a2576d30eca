// Runs a fuzz target on files, as its corpus: REPLAY FOLDER... Fails when a folder has none. What the target finds wrong
// ends the process.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> FilesIn(const fs::path& folder) {
  std::vector<fs::path> files;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder))
    if (entry.is_regular_file()) files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  return files;
}

std::vector<std::uint8_t> Contents(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw fs::filesystem_error("cannot read", path, std::make_error_code(std::errc::io_error));
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::cerr << "usage: " << argv[0] << " FOLDER...\n";
    return 2;
  }
  try {
    for (int i = 1; i < argc; ++i) {
      const std::vector<fs::path> files = FilesIn(argv[i]);
      if (files.empty()) {
        std::cerr << argv[i] << ": no inputs in this folder\n";
        return 1;
      }
      for (const fs::path& path : files) {
        // Said before it runs: the last one is the one that failed.
        std::cout << path.filename().string() << std::endl;
        const std::vector<std::uint8_t> bytes = Contents(path);
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
      }
      std::cout << argv[i] << ": " << files.size() << " inputs, nothing wrong" << std::endl;
    }
  } catch (const fs::filesystem_error& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
