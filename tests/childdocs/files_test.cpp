// File children: making them, transferring them between documents, and handing them to the writer.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "arbtree/compwrite.h"
#include "support/host.h"
#include "support/standins.h"

namespace arbtree::test {
namespace {

ArbFile* makeFile(Host& host, const char16_t* pattern, std::uint16_t formatId = 7) {
  ArbFile* file = nullptr;
  EXPECT_EQ(ARB_OK, ArbDocumentCreateFile(host.document, pattern, formatId, &file));
  return file;
}

std::string metadataOf(ArbFile* file, std::uint32_t key) {
  char value[300] = {};
  std::uint32_t size = sizeof value;
  const ArbStatus status = ArbForestChildGetMetadata(&file->child, key, value, &size);
  return status == ARB_OK ? std::string(value, size) : "status " + std::to_string(status);
}

TEST(Files, AreMadeInNoForest) {
  const Source source(u"/in/report.doc", u"/out/all.tar");
  Host host(0, source.handle());
  EXPECT_EQ(ARB_STATUS_END, ArbDocumentReadAhead(host.document));  // a chunk without the root forest
  std::uint32_t due = 0;
  for (std::uint32_t i = 0; i < 33; ++i) {
    EXPECT_EQ(ARB_OK, ArbDocumentQueryBreak(host.document, &due));
    EXPECT_EQ(0u, due) << i;
    ArbFile* const file = makeFile(host, u"%x-%n", 4711);
    EXPECT_EQ(ARB_CHILD_FILE, file->child.kind);
    EXPECT_EQ(2 + i, file->child.id);
    const std::string id = std::to_string(2 + i);
    EXPECT_EQ(u"report-" + std::u16string(id.begin(), id.end()), file->child.name);
    EXPECT_EQ(4711, file->child.formatId);
    EXPECT_EQ(host.document, file->child.document);
    EXPECT_EQ(&host.context, file->hostContext);
    EXPECT_EQ(0u, file->child.flags);
    EXPECT_EQ(nullptr, file->child.parent);
    EXPECT_EQ(nullptr, file->child.metadata);
    EXPECT_EQ(ARB_OK, i % 2 ? ArbFileDestroy(file) : ArbForestAppendChild(host.document->rootForest, &file->child));
  }
  EXPECT_EQ(ARB_OK, ArbDocumentQueryBreak(host.document, &due));
  EXPECT_EQ(1u, due) << "each counts as a child document of the chunk";
}

TEST(Files, ATransferKeepsNameFormatContextAndMetadata) {
  const Source elsewhere(u"/in/50%x.doc", u"/out/target.tar");
  Host from;
  Host to(0, elsewhere.handle());
  for (Host* const target : {&to, &from}) {
    ArbFile* const source = makeFile(from, u"picture.png", 4711);
    std::vector<std::pair<std::uint32_t, std::string>> entries;
    for (const std::uint32_t size : {0u, 1u, 3u, 4u, 5u, 8u, 200u}) {
      entries.emplace_back(100 + size, std::string(size, static_cast<char>('a' + size % 20)));
      EXPECT_EQ(ARB_OK, ArbForestChildSetMetadata(&source->child, 100 + size, entries.back().second.data(), size));
    }
    EXPECT_EQ(ARB_OK, ArbForestAppendChild(from.document->rootForest, &source->child));
    const std::uint32_t flags = source->child.flags;
    const std::uint32_t next = target->document->childCounter + 1;
    ArbFile* copy = nullptr;
    EXPECT_EQ(ARB_OK, ArbDocumentTransferFile(target->document, source, &copy));
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
      EXPECT_EQ(ARB_OK, ArbForestChildSetMetadata(&copy->child, key, "changed", 7));
      EXPECT_EQ(value, metadataOf(source, key));
    }
    EXPECT_EQ("status 25", metadataOf(copy, 99));
    // A transferred file transferred again keeps the first context, and outlives its source.
    ArbFile* again = nullptr;
    EXPECT_EQ(ARB_OK, ArbDocumentTransferFile(to.document, copy, &again));
    EXPECT_EQ(ARB_OK, ArbFileDestroy(copy));
    EXPECT_EQ(ARB_OK, ArbFileDestroy(source));
    EXPECT_EQ(&from.context, again->hostContext);
    EXPECT_EQ("changed", metadataOf(again, 300));
    EXPECT_EQ(ARB_OK, ArbForestAppendChild(to.document->rootForest, &again->child));
  }
}

// The source's name is a pattern in the target document.
TEST(Files, ATransferExpandsTheNameAgain) {
  const Source sourcePaths(u"/in/50%x.doc", nullptr);
  const Source targetPaths(u"/in/other.doc", nullptr);
  Host from(0, sourcePaths.handle());
  Host to(0, targetPaths.handle());
  ArbFile* const source = makeFile(from, u"%f");
  EXPECT_EQ(std::u16string(u"50%x.doc"), source->child.name);
  ArbFile* copy = nullptr;
  EXPECT_EQ(ARB_OK, ArbDocumentTransferFile(to.document, source, &copy));
  EXPECT_EQ(std::u16string(u"50other.doc"), copy->child.name);
  EXPECT_EQ(2u, to.document->childCounter);
  for (ArbFile* const file : {source, copy}) EXPECT_EQ(ARB_OK, ArbFileDestroy(file));
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
    EXPECT_EQ(ARB_OK, CompWriteSetWriter(&from.context, Writer::write, &writer));
    ArbFile* const source = makeFile(from, u"a");
    ArbFile* copy = nullptr;
    EXPECT_EQ(ARB_OK, ArbDocumentTransferFile(to.document, source, &copy));
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
    ArbFile* const unknown = makeFile(to, u"b");
    EXPECT_EQ(COMPWRITE_ERR_NO_WRITER, ArbFileWrite(unknown, 0));
    EXPECT_EQ(ARB_ERR_BADARG, ArbFileWrite(nullptr, 0));
    for (ArbFile* const file : {source, copy, unknown}) EXPECT_EQ(ARB_OK, ArbFileDestroy(file));
    EXPECT_EQ(ARB_OK, CompWriteRemoveWriter(&from.context));
  }
}

// The producer's release plays no part; after the consumer's the writer is not asked.
TEST(Files, AreNotWrittenOnceTheConsumerHasReleasedThem) {
  Host host;
  Writer writer;
  EXPECT_EQ(ARB_OK, CompWriteSetWriter(&host.context, Writer::write, &writer));
  ArbFile* const file = makeFile(host, u"a");
  EXPECT_EQ(ARB_OK, ArbForestAppendChild(host.document->rootForest, &file->child));
  EXPECT_EQ(ARB_OK, ArbForestChildProducerRelease(&file->child));
  EXPECT_EQ(ARB_OK, ArbFileWrite(file, 1));
  EXPECT_EQ(ARB_OK, ArbForestChildConsumerRelease(&file->child));
  EXPECT_EQ(ARB_ERR_RELEASED, ArbFileWrite(file, 2));
  EXPECT_EQ(1u, writer.arguments.size());
  EXPECT_EQ(ARB_OK, CompWriteRemoveWriter(&host.context));
}

}  // namespace
}  // namespace arbtree::test
