// The host of host.c in C++, whose producer throws first. On Windows its C++ runtime is not that of the libraries,
// which throw within themselves all the same.
#define main main_in_c
#include "host.c"
#undef main

#include <arbtree/baseutil.h>

#include <stdexcept>

static uint32_t ARB_CALL produceNothing(uint32_t, uint32_t, uint32_t) { throw std::runtime_error("nothing"); }

static bool throwingProducerFails(ArbProducerEntry entry) {
  static ArbHostContext context;
  ArbDocument* document;
  context.startEntry = entry;
  if (ArbDocumentCreate(0, &context, nullptr, 0, 0, &document) != ARB_OK) return false;
  const bool failed = ArbDocumentReadAhead(document) == RT_STATUS_EXCEPTION;
  return ArbDocumentDestroy(document) == ARB_OK && failed;
}

static bool tooManyBytesAreRefused() {
#ifdef _WIN32
  BaseStream* stream;
  return BaseStreamOpenMemory("", 0xF0000000u, 0, &stream) == ARB_ERR_NOMEMORY;
#else
  return true;
#endif
}

int main() {
  if (throwingProducerFails(RtProducer<produceNothing>) && throwingProducerFails(produceNothing) &&
      tooManyBytesAreRefused())
    return main_in_c();
  puts("bad");
  return 1;
}
