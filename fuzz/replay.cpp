// Feeds the files of a folder to a fuzz target, where no fuzzer is linked: TARGET FOLDER
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

void Replay(const std::filesystem::path& path) {
  std::ifstream file;
  file.exceptions(std::ios::badbit | std::ios::failbit);
  file.open(path, std::ios::binary);
  const std::string bytes(std::istreambuf_iterator<char>(file), {});
  // In memory of its own length, so that a read beyond it is found.
  const auto input = std::make_unique<std::uint8_t[]>(bytes.size());
  bytes.copy(reinterpret_cast<char*>(input.get()), bytes.size());
  std::printf("%s\n", path.c_str());
  std::fflush(stdout);  // the last one named is the one that broke
  LLVMFuzzerTestOneInput(input.get(), bytes.size());
}

}  // namespace

int main(int argc, char** argv) {
  int replayed = 0;
  try {
    for (const auto& entry : std::filesystem::directory_iterator(argc == 2 ? argv[1] : "")) {
      Replay(entry.path());
      ++replayed;
    }
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return EXIT_FAILURE;
  }
  std::printf("%d inputs replayed\n", replayed);
  return replayed > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
