// Feeds the files of a folder to a fuzz target, where no fuzzer is linked: TARGET FOLDER
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int, char** argv) {
  int replayed = 0;
  for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
    std::ifstream file(entry.path(), std::ios::binary);
    // In memory of its own length, so that a read beyond it is found.
    std::vector<std::uint8_t> input(std::istreambuf_iterator<char>(file), {});
    input.shrink_to_fit();
    std::printf("%s\n", entry.path().c_str());
    std::fflush(stdout);  // the last one named is the one that broke
    LLVMFuzzerTestOneInput(input.data(), input.size());
    ++replayed;
  }
  return replayed > 0 ? 0 : 1;
}
