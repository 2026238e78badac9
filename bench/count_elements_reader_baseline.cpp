// Counts the elements of an XML file with libxml2's streaming reader and does nothing else. Prints the count, a space,
// and the peak resident memory in bytes.
#include <libxml/xmlreader.h>
#include <sys/resource.h>

#include <cinttypes>
#include <cstdint>
#include <cstdio>

int main(int argc, char** argv) {
  xmlTextReaderPtr reader = argc == 2 ? xmlReaderForFile(argv[1], nullptr, XML_PARSE_HUGE | XML_PARSE_NONET) : nullptr;
  if (!reader) {
    std::fprintf(stderr, "usage: count_elements_reader_baseline FILE\n");
    return 2;
  }
  std::uint64_t elements = 0;
  int result = 0;
  while ((result = xmlTextReaderRead(reader)) == 1)
    elements += xmlTextReaderNodeType(reader) == XML_READER_TYPE_ELEMENT;
  xmlFreeTextReader(reader);
  rusage usage = {};
  getrusage(RUSAGE_SELF, &usage);
  std::printf("%" PRIu64 " %" PRIu64 "\n", elements, static_cast<std::uint64_t>(usage.ru_maxrss) * 1024);
  return result == 0 ? 0 : 1;
}
