// Runs a fuzz target over the files it is given (seed corpus and kept crashers), so the normal
// test run replays every input a fuzzer ever tripped on.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv) {
  size_t files = 0;
  for (int i = 1; i < argc; ++i) {
    std::error_code ec;
    std::vector<std::filesystem::path> inputs;
    if (std::filesystem::is_directory(argv[i], ec)) {
      for (const auto& entry : std::filesystem::directory_iterator(argv[i], ec))
        if (entry.is_regular_file()) inputs.push_back(entry.path());
    } else if (std::filesystem::exists(argv[i], ec)) {
      inputs.emplace_back(argv[i]);
    }
    for (const auto& path : inputs) {
      std::ifstream in(path, std::ios::binary);
      const std::string data((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
      LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(data.data()), data.size());
      ++files;
    }
  }
  std::printf("replayed %zu inputs\n", files);
  return 0;
}
