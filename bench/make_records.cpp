// Writes a well-formed XML file of records to standard output: make_records SIZE_MB > FILE. One megabyte is 1,000,000
// bytes. The same size gives the same bytes on every machine, and a larger file is more of the same shape: about 900
// bytes a record, with attributes, nested elements, text of a few words up to a few sentences, characters of one to
// four bytes, and entities.
#include <cerrno>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

constexpr std::string_view kWords[] = {
    "river",   "stone",  "letter",  "window",  "garden",  "market", "signal",    "winter", "paper",  "engine",
    "harbour", "copper", "meadow",  "lantern", "ticket",  "carpet", "thunder",   "velvet", "marble", "orchard",
    "bridge",  "silver", "compass", "feather", "barrel",  "mirror", "anchor",    "basket", "candle", "shadow",
    "valley",  "pocket", "of",      "and",     "the",     "under",  "beyond",    "with",   "Zürich", "café",
    "naïve",   "Łódź",   "日本",    "Σίσυφος", "R&amp;D", "a&lt;b", "&#x20AC;5", "🌲",
};
constexpr std::string_view kNames[] = {"Ada Øst",   "B. Marsh",   "Chloé Roux", "D. Young", "E. Nováková",
                                       "F. Castle", "G. O'Leary", "H. Wu",      "I. Silva", "J. Brook"};
constexpr std::string_view kLanguages[] = {"en", "fr", "de", "pl", "ja"};
constexpr std::string_view kKinds[] = {"article", "report", "thesis", "note"};

class Random {
 public:
  std::uint32_t below(std::uint32_t limit) {
    state_ = state_ * 6364136223846793005u + 1442695040888963407u;
    return static_cast<std::uint32_t>(((state_ >> 32) * limit) >> 32);
  }
  template <std::size_t N>
  std::string_view pick(const std::string_view (&choices)[N]) {
    return choices[below(N)];
  }

 private:
  std::uint64_t state_ = 20240229;
};

void appendNumber(std::string& out, std::uint64_t number) {
  char digits[24];
  out.append(digits, static_cast<std::size_t>(std::snprintf(digits, sizeof digits, "%" PRIu64, number)));
}

void appendWords(std::string& out, Random& random, std::uint32_t count) {
  for (std::uint32_t i = 0; i < count; ++i) {
    if (i != 0) out += ' ';
    out += random.pick(kWords);
  }
}

void appendElement(std::string& out, Random& random, std::string_view name, std::uint32_t words) {
  out.append("    <").append(name) += '>';
  appendWords(out, random, words);
  out.append("</").append(name).append(">\n");
}

void appendRecord(std::string& out, Random& random, std::uint64_t id) {
  out += "  <record id=\"r";
  appendNumber(out, id);
  out.append("\" kind=\"").append(random.pick(kKinds));
  out.append("\" xml:lang=\"").append(random.pick(kLanguages)).append("\">\n");
  appendElement(out, random, "title", 3 + random.below(6));
  for (std::uint32_t authors = 1 + random.below(3); authors != 0; --authors) {
    out.append("    <author role=\"").append(authors == 1 ? "main" : "other").append("\">");
    out.append(random.pick(kNames)).append("</author>\n");
  }
  out += "    <published year=\"";
  appendNumber(out, 1950 + random.below(75));
  out += "\" month=\"";
  appendNumber(out, 1 + random.below(12));
  out += "\"/>\n    <x:subjects>\n";
  for (std::uint32_t subjects = 1 + random.below(4); subjects != 0; --subjects) {
    out += "  ";
    appendElement(out, random, "x:subject", 1 + random.below(2));
  }
  out += "    </x:subjects>\n";
  appendElement(out, random, "abstract", 20 + random.below(100));
  if (random.below(8) == 0) out += "    <!-- checked by hand -->\n";
  out += "  </record>\n";
}

bool write(std::string& out) {
  const bool written = std::fwrite(out.data(), 1, out.size(), stdout) == out.size();
  out.clear();
  return written;
}

bool writeRecords(std::uint64_t size) {
  constexpr std::size_t kBuffer = 1 << 18;
  Random random;
  std::string out =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<records xmlns=\"urn:example:records\" xmlns:x=\"urn:example:subjects\">\n";
  out.reserve(2 * kBuffer);
  std::uint64_t before = 0;  // bytes written earlier than those in `out`
  for (std::uint64_t id = 1; before + out.size() < size; ++id) {
    appendRecord(out, random, id);
    if (out.size() < kBuffer) continue;
    before += out.size();
    if (!write(out)) return false;
  }
  out += "</records>\n";
  return write(out) && std::fflush(stdout) == 0;
}

}  // namespace

int main(int argc, char** argv) {
  char* end = nullptr;
  const std::uint64_t megabytes = argc == 2 ? std::strtoull(argv[1], &end, 10) : 0;
  if (megabytes == 0 || megabytes > 1000000 || *end != '\0') {
    std::fprintf(stderr, "usage: make_records SIZE_MB > FILE\n");
    return 2;
  }
  if (writeRecords(megabytes * 1000000)) return 0;
  std::perror("make_records");
  return 1;
}
