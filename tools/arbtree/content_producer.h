// The producer of a whole input: archives become forests, XML becomes trees, all else becomes files, to any depth.
//
// Archives are read forward, each by a reader of its own that pulls from the member of the archive around it, so the
// content of a file can only be had until the producer goes on: where it is wanted, a run ends as soon as the file is
// in its forest. Whatever fails is reported, what came before is delivered, and production goes on behind it if the
// archive around it can still be read.
#ifndef ARBTREE_TOOL_CONTENT_PRODUCER_H
#define ARBTREE_TOOL_CONTENT_PRODUCER_H

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "arbtree/arbtree.h"
#include "archive_reader.h"
#include "content_sort.h"
#include "input_file.h"
#include "input_limits.h"
#include "lookahead.h"
#include "report.h"
#include "xml_producer.h"

namespace arbtree::tool {

// What a command wants to see.
struct Wanted {
  bool xml = true;          // the nodes of XML; otherwise its trees stay empty
  bool xmlAsFiles = false;  // XML as files
  bool files = false;       // the content of files
  bool archives = true;     // what is in archives; otherwise those within the outermost are files
  bool plainIsXml = true;   // an input that is no archive is XML, whatever it looks like
  NodeDetails details;      // of the nodes of XML
  std::string member;       // the shown path of the only XML that is wanted; empty for all
};

struct ProducerCounts {
  std::uint64_t runs = 0;
  std::uint64_t nodes = 0;
  std::uint64_t attributes = 0;
};

class ContentProducer {
 public:
  ContentProducer(InputFile& input, const Limits& limits, const Wanted& wanted, Report& report);
  ~ContentProducer();
  ContentProducer(const ContentProducer&) = delete;
  ContentProducer& operator=(const ContentProducer&) = delete;

  // Produces one chunk into a document; the result is a producer entry's.
  std::uint32_t run(ArbDocument* document);

  // The content of the file that the last run ended with, as ByteSource::read. Nothing, too, for every other file.
  std::optional<std::size_t> readFile(const ArbFile* file, void* buffer, std::size_t size);
  const std::string& fileError() const;

  ProducerCounts counts() const;

 private:
  // An archive that is being read.
  struct Level {
    std::unique_ptr<ByteSource> source;  // the bytes of the archive
    std::unique_ptr<ArchiveReader> reader;
    ArbForest* forest;
    std::optional<Member> first;  // read ahead when the archive was opened
    bool reported;                // that it cannot be read any further, by whoever read from it
  };

  void start();
  void step();
  void nextMember();
  void makeMember(const Member& member);
  void makeContent(const Member& member, std::unique_ptr<Lookahead> content, ContentSort sort);
  bool openArchive(const Member& member, std::unique_ptr<Lookahead>& content);
  void makeFile(const Member& member, std::unique_ptr<ByteSource> content);
  void makeTree(const Member& member, std::unique_ptr<ByteSource> content);
  void failLevel();
  void closeLevel();
  void finishTree();
  bool isWanted(ArbForestChild& child) const;
  ArbForest* forest() const;
  bool append(ArbForestChild* child, const Member& member);
  void fail(ArbForestChild* child, const std::string& reason);
  bool check(ArbStatus status);
  bool isDue() const;

  InputFile& input_;
  const Wanted wanted_;
  Report& report_;
  Spending spending_;
  ArbDocument* document_ = nullptr;
  bool started_ = false;
  bool broken_ = false;  // nothing more can be made
  std::vector<std::unique_ptr<Level>> levels_;
  std::unique_ptr<ByteSource> content_;   // of the file or tree that is current
  const ArbFile* currentFile_ = nullptr;  // whose content can be read
  ArbTree* currentTree_ = nullptr;
  std::unique_ptr<XmlProducer> xml_;
  ProducerCounts finished_;
  std::string noContent_;
};

}  // namespace arbtree::tool

#endif
