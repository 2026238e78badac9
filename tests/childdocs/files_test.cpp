// File children: making them, transferring them between documents, and handing them to the writer.
#include <map>
#include <string>
#include <vector>

#include "arbtree/compwrite.h"
#include "support/host.h"
#include "support/standins.h"

namespace arbtree::test {
namespace {

std::string metadataOf(ArbFile* file, std::uint32_t key) {
  char value[300] = {};
  std::uint32_t size = sizeof value;
  const ArbStatus status = ArbForestChildGetMetadata(&file->child, key, value, &size);
  return status == ARB_OK ? std::string(value, size) : "status " + std::to_string(status);
}

// The source's name is a pattern in the target document, which may be the source's own.
TEST(Files, AreMadeInNoForestAndTransferredWithFormatContextAndMetadata) {
  const Source sourcePaths(u"/in/50%x.doc", nullptr), targetPaths(u"/in/other.doc", nullptr);
  Host from(0, sourcePaths.handle()), to(0, targetPaths.handle());
  for (Host* const target : {&to, &from}) {
    ArbFile* const source = from.makeFile(u"%f", 4711);
    EXPECT_EQ(std::u16string(u"50%x.doc"), source->child.name);
    std::map<std::uint32_t, std::string> entries;
    for (const std::uint32_t size : {0u, 1u, 4u, 5u, 200u}) {
      entries[size] = std::string(size, 'v');
      ok(ArbForestChildSetMetadata(&source->child, size, entries[size].data(), size));
    }
    ArbFile* copy = nullptr;
    ok(ArbDocumentTransferFile(target->document, source, &copy));
    EXPECT_EQ(target->document->childCounter, copy->child.id);
    EXPECT_EQ(std::u16string(target == &to ? u"50other.doc" : u"5050%x.doc"), copy->child.name);
    EXPECT_EQ(target->document, copy->child.document);
    for (const ArbFile* const file : {source, copy}) {
      EXPECT_EQ(ARB_CHILD_FILE, file->child.kind);
      EXPECT_EQ(4711, file->child.formatId);
      EXPECT_EQ(&from.context, file->hostContext) << "writes through the source's context";
      EXPECT_EQ(nullptr, file->child.parent);
      EXPECT_EQ(0u, file->child.flags);
    }
    for (const auto& [key, value] : entries) {
      EXPECT_EQ(value, metadataOf(copy, key));
      ok(ArbForestChildSetMetadata(&copy->child, key, "changed", 7));
      EXPECT_EQ(value, metadataOf(source, key));
    }
    // A transferred file transferred again keeps the first context, and outlives its source.
    ArbFile* again = nullptr;
    ok(ArbDocumentTransferFile(to.document, copy, &again));
    ok(ArbFileDestroy(copy));
    ok(ArbFileDestroy(source));
    EXPECT_EQ(&from.context, again->hostContext);
    EXPECT_EQ("changed", metadataOf(again, 200));
    ok(ArbForestAppendChild(to.document->rootForest, &again->child));
  }
}

struct Writer {
  std::vector<std::uint32_t> arguments;
  ArbHostContext* context = nullptr;
  ArbFile* file = nullptr;
  std::uint32_t answer = 0;
  static std::uint32_t ARB_CALL write(ArbHostContext* context, ArbFile* file, std::uint32_t argument, void* self) {
    auto& writer = *static_cast<Writer*>(self);
    writer.arguments.push_back(argument);
    writer.context = context;
    writer.file = file;
    return writer.answer;
  }
};

// The producer's release plays no part; after the consumer's the writer is not asked.
TEST(Files, AreWrittenByTheWriterOfTheirContextUntilTheConsumerReleasesThem) {
  for (const std::uint32_t mode : {0u, 1u}) {
    Host from(mode), to(mode);
    Writer writer;
    ok(CompWriteSetWriter(&from.context, Writer::write, &writer));
    ArbFile* const source = from.makeFile(u"a");
    ArbFile* copy = nullptr;
    ok(ArbDocumentTransferFile(to.document, source, &copy));
    for (ArbFile* const file : {source, copy}) {
      ok(ArbForestAppendChild((file == source ? from : to).document->rootForest, &file->child));
      ok(ArbForestChildProducerRelease(&file->child));
      for (const std::uint32_t answer : {0u, 145u, 452u}) {
        writer.answer = answer;
        EXPECT_EQ(answer, ArbFileWrite(file, answer + 1)) << "again and again, whatever it answered";
        EXPECT_EQ(answer + 1, writer.arguments.back());
        EXPECT_EQ(&from.context, writer.context);
        EXPECT_EQ(file, writer.file);
      }
      if (mode == 1) continue;
      ok(ArbForestChildConsumerRelease(&file->child));
      EXPECT_EQ(ARB_ERR_RELEASED, ArbFileWrite(file, 2));
    }
    EXPECT_EQ(6u, writer.arguments.size());
    ok(CompWriteRemoveWriter(&from.context));
    EXPECT_EQ(mode == 1 ? COMPWRITE_ERR_NO_WRITER : ARB_ERR_RELEASED, ArbFileWrite(source, 0));
  }
}

}  // namespace
}  // namespace arbtree::test
