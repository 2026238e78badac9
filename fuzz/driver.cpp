// Runs a fuzz entry where the compiler has no libFuzzer, with as much of its command line as is needed:
//
//   fuzz_ENTRY [-runs=N]        N inputs, made by mutating the entry's seeds
//   fuzz_ENTRY FILE|FOLDER ...  each file as one input
//
// An input that is being tried is in a file, which stays when the program ends there. ARBTREE_SEED=n makes the inputs
// of a printed seed again.
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
  const std::vector<std::uint8_t> bytes(input.begin(), input.end());
  LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

void runFile(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  require(file.good(), ("the input can be read: " + path.string()).c_str());
  std::fprintf(stderr, "%s\n", path.string().c_str());
  run({std::istreambuf_iterator<char>(file), {}});
}

void runPath(const fs::path& path) {
  if (!fs::is_directory(path)) return runFile(path);
  for (const auto& entry : fs::recursive_directory_iterator(path)) {
    if (entry.is_regular_file()) runFile(entry.path());
  }
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

  void change(std::string& input) {
    constexpr char kEdges[] = {0, 1, 2, 0x7F, '\x80', '\xFF', '<', '&', '%', '='};
    const std::size_t at = below(input.size() + 1), length = below(below(32) + 1);
    const std::string part = input.substr(at, length);
    switch (below(7)) {
      case 0:
        if (at < input.size()) input[at] = static_cast<char>(input[at] ^ 1 << below(8));
        break;
      case 1:
        if (at < input.size()) input[at] = kEdges[below(sizeof kEdges)];
        break;
      case 2:
        for (std::size_t i = 0; i < length; ++i) input.insert(input.begin() + static_cast<std::ptrdiff_t>(at), byte());
        break;
      case 3:
        input.erase(at, length);
        break;
      case 4:
        input.insert(below(input.size() + 1), part);
        break;
      case 5:
        input.resize(at);
        break;
      default:
        const std::string& other = anySeed();
        input.replace(at, length, other.substr(below(other.size() + 1), below(64)));
    }
  }
  char byte() { return static_cast<char>(below(256)); }

  std::mt19937 random_;
  const std::vector<std::string> seeds_ = seeds();
};

std::uint32_t chosenSeed() {
  const char* const given = std::getenv("ARBTREE_SEED");
  const auto now = std::chrono::system_clock::now().time_since_epoch().count();
  return given ? static_cast<std::uint32_t>(std::strtoul(given, nullptr, 0)) : static_cast<std::uint32_t>(now);
}

void runMutations(std::uint64_t count, const std::string& program) {
  const std::uint32_t seed = chosenSeed();
  const std::string name = fs::path(program).stem().string() + "." + std::to_string(seed) + ".input";
  std::fprintf(stderr, "ARBTREE_SEED=%lu\na failing input stays in %s\n", static_cast<unsigned long>(seed),
               name.c_str());
  Mutator mutator(seed);
  for (std::uint64_t i = 0; i < count; ++i) {
    const std::string input = mutator.next();
    require((std::ofstream(name, std::ios::binary) << input).flush().good(), "the input is kept in a file");
    run(input);
  }
  fs::remove(name);
  std::fprintf(stderr, "%llu inputs, all well\n", static_cast<unsigned long long>(count));
}

}  // namespace
}  // namespace arbtree::fuzz

int main(int argc, char** argv) {
  using namespace arbtree::fuzz;
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  std::uint64_t count = 10000;
  bool paths = false;
  for (const std::string& argument : arguments) {
    if (argument.starts_with("-runs=")) {
      count = std::strtoull(argument.c_str() + 6, nullptr, 10);
    } else {
      runPath(argument);
      paths = true;
    }
  }
  if (!paths) runMutations(count, argv[0]);
  return 0;
}
