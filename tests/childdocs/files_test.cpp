// File children: making them, transferring them between documents, and handing them to the writer.
#include <string>
#include <utility>
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

TEST(Files, AreMadeInNoForest) {
  const Source source(u"/in/report.doc", u"/out/all.tar");
  Host host(0, source.handle());
  for (const char16_t* const name : {u"report-2", u"report-3"}) {
    ArbFile* const file = host.makeFile(u"%x-%n", 4711);
    EXPECT_EQ(ARB_CHILD_FILE, file->child.kind);
    EXPECT_EQ(host.document->childCounter, file->child.id);
    EXPECT_EQ(std::u16string(name), file->child.name);
    EXPECT_EQ(4711, file->child.formatId);
    EXPECT_EQ(host.document, file->child.document);
    EXPECT_EQ(&host.context, file->hostContext);
    EXPECT_EQ(0u, file->child.flags);
    EXPECT_EQ(nullptr, file->child.parent);
    EXPECT_EQ(nullptr, file->child.metadata);
    ok(ArbFileDestroy(file));
  }
}

TEST(Files, ATransferKeepsNameFormatContextAndMetadata) {
  const Source elsewhere(u"/in/50%x.doc", u"/out/target.tar");
  Host from;
  Host to(0, elsewhere.handle());
  for (Host* const target : {&to, &from}) {
    ArbFile* const source = from.makeFile(u"picture.png", 4711);
    std::vector<std::pair<std::uint32_t, std::string>> entries;
    for (const std::uint32_t size : {0u, 1u, 3u, 4u, 5u, 8u, 200u}) {
      entries.emplace_back(100 + size, std::string(size, static_cast<char>('a' + size % 20)));
      ok(ArbForestChildSetMetadata(&source->child, 100 + size, entries.back().second.data(), size));
    }
    ok(ArbForestAppendChild(from.document->rootForest, &source->child));
    const std::uint32_t flags = source->child.flags;
    const std::uint32_t next = target->document->childCounter + 1;
    ArbFile* copy = nullptr;
    ok(ArbDocumentTransferFile(target->document, source, &copy));
    EXPECT_EQ(next, copy->child.id);
    EXPECT_EQ(std::u16string(u"picture.png"), copy->child.name);
    EXPECT_EQ(4711, copy->child.formatId);
    EXPECT_EQ(target->document, copy->child.document);
    EXPECT_EQ(&from.context, copy->hostContext) << "writes through the source's context";
    EXPECT_EQ(nullptr, copy->child.parent);
    EXPECT_EQ(0u, copy->child.flags);
    EXPECT_EQ(flags, source->child.flags);
    for (const auto& [key, value] : entries) {
      EXPECT_EQ(value, metadataOf(copy, key));
      ok(ArbForestChildSetMetadata(&copy->child, key, "changed", 7));
      EXPECT_EQ(value, metadataOf(source, key));
    }
    EXPECT_EQ("status 25", metadataOf(copy, 99));
    // A transferred file transferred again keeps the first context, and outlives its source.
    ArbFile* again = nullptr;
    ok(ArbDocumentTransferFile(to.document, copy, &again));
    ok(ArbFileDestroy(copy));
    ok(ArbFileDestroy(source));
    EXPECT_EQ(&from.context, again->hostContext);
    EXPECT_EQ("changed", metadataOf(again, 300));
    ok(ArbForestAppendChild(to.document->rootForest, &again->child));
  }
}

// The source's name is a pattern in the target document.
TEST(Files, ATransferExpandsTheNameAgain) {
  const Source sourcePaths(u"/in/50%x.doc", nullptr);
  const Source targetPaths(u"/in/other.doc", nullptr);
  Host from(0, sourcePaths.handle());
  Host to(0, targetPaths.handle());
  ArbFile* const source = from.makeFile(u"%f");
  EXPECT_EQ(std::u16string(u"50%x.doc"), source->child.name);
  ArbFile* copy = nullptr;
  ok(ArbDocumentTransferFile(to.document, source, &copy));
  EXPECT_EQ(std::u16string(u"50other.doc"), copy->child.name);
  EXPECT_EQ(2u, to.document->childCounter);
  for (ArbFile* const file : {source, copy}) ok(ArbFileDestroy(file));
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

TEST(Files, AreWrittenByTheWriterOfTheirContext) {
  for (const std::uint32_t mode : {0u, 1u}) {
    Host from(mode);
    Host to(mode);
    Writer writer;
    ok(CompWriteSetWriter(&from.context, Writer::write, &writer));
    ArbFile* const source = from.makeFile(u"a");
    ArbFile* copy = nullptr;
    ok(ArbDocumentTransferFile(to.document, source, &copy));
    for (ArbFile* const file : {source, copy}) {
      for (const std::uint32_t answer : {0u, 13u, 145u, 452u, 99999u}) {
        writer.answer = answer;
        EXPECT_EQ(answer, ArbFileWrite(file, answer + 1)) << "again and again, whatever it answered";
        EXPECT_EQ(answer + 1, writer.arguments.back());
        EXPECT_EQ(&from.context, writer.context);
        EXPECT_EQ(file, writer.file);
      }
    }
    EXPECT_EQ(10u, writer.arguments.size());
    ArbFile* const unknown = to.makeFile(u"b");
    EXPECT_EQ(COMPWRITE_ERR_NO_WRITER, ArbFileWrite(unknown, 0));
    EXPECT_EQ(ARB_ERR_BADARG, ArbFileWrite(nullptr, 0));
    for (ArbFile* const file : {source, copy, unknown}) ok(ArbFileDestroy(file));
    ok(CompWriteRemoveWriter(&from.context));
  }
}

// The producer's release plays no part; after the consumer's the writer is not asked.
TEST(Files, AreNotWrittenOnceTheConsumerHasReleasedThem) {
  Host host;
  Writer writer;
  ok(CompWriteSetWriter(&host.context, Writer::write, &writer));
  ArbFile* const file = host.makeFile(u"a");
  ok(ArbForestAppendChild(host.document->rootForest, &file->child));
  ok(ArbForestChildProducerRelease(&file->child));
  ok(ArbFileWrite(file, 1));
  ok(ArbForestChildConsumerRelease(&file->child));
  EXPECT_EQ(ARB_ERR_RELEASED, ArbFileWrite(file, 2));
  EXPECT_EQ(1u, writer.arguments.size());
  ok(CompWriteRemoveWriter(&host.context));
}

}  // namespace
}  // namespace arbtree::test
