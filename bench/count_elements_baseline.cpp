// Counts the elements of an XML file with expat and does nothing else: the floor that the tool is measured against. It
// reads the way the tool does, in blocks of the same size into expat's own buffer. Prints the count, a space, and the
// peak resident memory in bytes (0 where the system does not tell).
#include <expat.h>
#include <fcntl.h>
#include <unistd.h>

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace {

constexpr int kReadBytes = 64 * 1024;

void XMLCALL countElement(void* count, const XML_Char*, const XML_Char**) { ++*static_cast<std::uint64_t*>(count); }

bool parse(XML_Parser parser, int file) {
  for (;;) {
    void* const buffer = XML_GetBuffer(parser, kReadBytes);
    if (!buffer) return false;
    const ssize_t count = read(file, buffer, kReadBytes);
    if (count < 0) return false;
    if (XML_ParseBuffer(parser, static_cast<int>(count), count == 0) != XML_STATUS_OK) return false;
    if (count == 0) return true;
  }
}

std::uint64_t peakMemory() {
  std::FILE* const status = std::fopen("/proc/self/status", "r");
  if (!status) return 0;
  char line[256];
  std::uint64_t kilobytes = 0;
  while (std::fgets(line, sizeof line, status)) {
    if (std::strncmp(line, "VmHWM:", 6) == 0) std::sscanf(line + 6, "%" SCNu64, &kilobytes);
  }
  std::fclose(status);
  return kilobytes * 1024;
}

}  // namespace

int main(int argc, char** argv) {
  const int file = argc == 2 ? open(argv[1], O_RDONLY) : -1;
  XML_Parser parser = XML_ParserCreate(nullptr);
  if (file < 0 || !parser) {
    std::fprintf(stderr, "usage: count_elements_baseline FILE\n");
    return 2;
  }
  std::uint64_t elements = 0;
  XML_SetUserData(parser, &elements);
  XML_SetStartElementHandler(parser, countElement);
  const bool parsed = parse(parser, file);
  XML_ParserFree(parser);
  close(file);
  if (!parsed) {
    std::fprintf(stderr, "count_elements_baseline: %s cannot be read as XML\n", argv[1]);
    return 1;
  }
  std::printf("%" PRIu64 " %" PRIu64 "\n", elements, peakMemory());
  return 0;
}
