// Runs a fuzz entry where the compiler has no libFuzzer, with as much of its command line as is needed:
//
//   fuzz_ENTRY [-runs=N]          N inputs, made by mutating the entry's seeds
//   fuzz_ENTRY FILE|FOLDER ...    each file as one input
//
// An input that was made is in a file while it is tried, which stays when the program ends there. ARBTREE_SEED=n makes
// the inputs of a printed seed again.
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

#include "fuzz.h"

namespace arbtree::fuzz {
namespace {

namespace fs = std::filesystem;

void run(const std::string& input) {
  // A block of its own, so that a sanitizer sees every step beyond the input.
  const Bytes bytes(input.begin(), input.end());
  LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

void runPath(const fs::path& path) {
  if (fs::is_directory(path)) {
    for (const auto& entry : fs::directory_iterator(path)) runPath(entry.path());
    return;
  }
  std::fprintf(stderr, "%s\n", path.string().c_str());
  std::ifstream file(path, std::ios::binary);
  require(file.good(), "an input can be read");
  run({std::istreambuf_iterator<char>(file), {}});
}

class Mutator {
 public:
  explicit Mutator(std::uint32_t seed) : random_(seed) {}
  std::string next() {
    std::string input = anySeed();
    for (std::size_t changes = below(8); changes > 0; --changes) change(input);
    return input;
  }

 private:
  std::size_t below(std::size_t limit) { return random_() % limit; }
  const std::string& anySeed() { return seeds_[below(seeds_.size())]; }
  std::string randomBytes(std::size_t count) {
    std::string bytes(count, '\0');
    for (char& byte : bytes) byte = static_cast<char>(below(256));
    return bytes;
  }

  void change(std::string& input) {
    constexpr char kEdges[] = {0, 1, 2, 0x7F, '\x80', '\xFF', '<', '&', '%', '='};
    const std::size_t at = below(input.size() + 1), length = below(below(32) + 1);
    const std::string& other = anySeed();
    switch (below(6)) {
      case 0:
        if (at < input.size()) input[at] = static_cast<char>(input[at] ^ 1 << below(8));
        break;
      case 1:
        input.replace(at, 1, 1, kEdges[below(sizeof kEdges)]);
        break;
      case 2:
        input.insert(at, randomBytes(length));
        break;
      case 3:
        input.insert(below(input.size() + 1), input.substr(at, length));
        break;
      case 4:
        input.erase(at, below(32) == 0 ? std::string::npos : length);
        break;
      default:
        input.replace(at, length, other.substr(below(other.size() + 1), length));
    }
  }

  std::mt19937 random_;
  const std::vector<std::string> seeds_ = seeds();
};

std::uint32_t chosenSeed() {
  const char* const given = std::getenv("ARBTREE_SEED");
  const auto now = std::chrono::system_clock::now().time_since_epoch().count();
  return given ? static_cast<std::uint32_t>(std::strtoul(given, nullptr, 0)) : static_cast<std::uint32_t>(now);
}

void runMutations(std::uint64_t count, const std::string& program) {
  const std::string seed = std::to_string(chosenSeed());
  const std::string name = fs::path(program).stem().string() + "." + seed + ".input";
  std::fprintf(stderr, "ARBTREE_SEED=%s\na failing input stays in %s\n", seed.c_str(), name.c_str());
  Mutator mutator(static_cast<std::uint32_t>(std::stoul(seed)));
  for (std::uint64_t i = 0; i < count; ++i) {
    const std::string input = mutator.next();
    require((std::ofstream(name, std::ios::binary) << input).flush().good(), "an input can be kept in a file");
    run(input);
    fs::remove(name);  // a new file each time: some systems write one out when it is emptied and filled again
  }
  std::fprintf(stderr, "%s inputs, all well\n", std::to_string(count).c_str());
}

}  // namespace
}  // namespace arbtree::fuzz

int main(int argc, char** argv) {
  using namespace arbtree::fuzz;
  const std::string first = argc > 1 ? argv[1] : "-runs=10000";
  if (first.starts_with("-runs=")) {
    runMutations(std::stoull(first.substr(6)), argv[0]);
  } else {
    for (int i = 1; i < argc; ++i) runPath(argv[i]);
  }
  return 0;
}
