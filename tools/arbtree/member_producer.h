// The producer of an input: puts its members into the document as the consumer asks for them. Each archive within the
// input is a nested forest, each XML member a tree, everything else a file; an archive that is the input itself has its
// members in the root forest.
//
// The archives that are open form a stack of levels. The innermost one gives the next member; its bytes come through
// all the levels outside it, so nothing is unpacked but what is asked for, and nothing is kept.
//
// What is wrong with the input goes to Problems, and production goes on with the next thing that can be read, so the
// document itself always ends in good order. A limit on the whole input ends production.
#ifndef ARBTREE_TOOL_MEMBER_PRODUCER_H
#define ARBTREE_TOOL_MEMBER_PRODUCER_H

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "arbtree/arbtree.h"
#include "archive_reader.h"
#include "content_kind.h"
#include "content_limits.h"
#include "input_file.h"
#include "member.h"
#include "problems.h"
#include "xml_producer.h"

namespace arbtree::tool {

// What a command wants of the members. Paths are in the archive's own bytes.
struct Wishes {
  bool inputIsXml = true;    // an input that is no archive is parsed, whatever it looks like
  bool parsesXml = true;     // otherwise XML members are files too
  bool oneByOne = false;     // no member is made before the one before it has been consumed
  bool readsFiles = false;   // stop after each file, so that the consumer can read its content
  bool checksFiles = false;  // read them to their end, so that all that is damaged is found
  std::function<bool(const std::string&)> wantsNodes;    // of this XML member; null for all
  std::function<bool(const std::string&)> wantsMembers;  // of this archive, which otherwise is a file; null for all
  NodeWishes nodes;                                      // of XML
};

struct Production {
  std::uint64_t runs = 0;
  std::uint64_t archives = 0;
  std::uint64_t documents = 0;  // XML
  std::uint64_t files = 0;
  std::uint64_t nodes = 0;
  std::uint64_t attributes = 0;  // of elements
};

class MemberProducer {
 public:
  MemberProducer(InputFile& input, const Limits& limits, const Wishes& wishes, Problems& problems)
      : input_(input), wishes_(wishes), problems_(problems), budget_(limits, input) {}

  // Produces one chunk; the result is a producer entry's.
  std::uint32_t run(ArbDocument* document);

  // The content of the file produced last; null when it has none. REQUIRES: wishes.readsFiles, no run since.
  ByteSource* fileContent() { return content_.kind == ContentKind::other && content_.raw ? content_.raw : nullptr; }

  // Whether the input is an archive, once something has been produced.
  bool inputIsArchive() const { return inputIsArchive_; }
  Production production() const;
  const Budget& budget() const { return budget_; }

 private:
  // Some content on its way to a decision: as it is, and unpacked when that is of use.
  struct Content {
    std::unique_ptr<ByteSource> owned;
    ByteSource* raw = nullptr;
    std::vector<std::unique_ptr<ByteSource>> unpacked;  // by one compression after the other, each from the one before
    std::unique_ptr<ByteSource> spooled;                // all of it, where a format must be read back and forth
    ContentKind kind = ContentKind::other;
    ByteSource& useful() { return spooled ? *spooled : !unpacked.empty() ? *unpacked.back() : *raw; }
  };
  // An open archive.
  struct Level {
    Content content;
    std::unique_ptr<ArchiveReader> reader;
    ArbForest* forest;
    std::string path;
    std::string longPath;  // empty, or the path where a name in it is too long for a record
  };
  struct NewMember {
    std::string name;
    std::u16string pattern;  // that gives the name
    bool hasName = true;     // else the name is made up
    MemberFacts facts;
    std::string link;
  };

  bool step();
  void begin();
  void nextMember();
  void takeMember(archive_entry& entry);
  void checkOn();
  bool mayHaveContent(const NewMember& member) const;
  void reportContent();
  NewMember describe(archive_entry& entry) const;
  NewMember describeInput() const;
  void examine(Content& content, NameOfContent name, bool xmlByDefault);
  ContentKind recogniseUnpacked(Content& content, NameOfContent name);
  void reportDoubt(Content& content, NameOfContent name);
  static void settle(Content& content, bool unpacked);

  void addFile(const NewMember& member);
  void addTree(const NewMember& member);
  void addArchive(const NewMember& member);
  void enterArchive(ArbForest* forest, std::string path, std::string longPath);
  bool attach(ArbForestChild* child, const NewMember& member);
  void finishTree();
  void closeLevel();
  void stop();

  bool check(ArbStatus status);
  bool isChunkFull() const;
  std::string pathFor(const NewMember& member) const;
  ArbForest* currentForest() const;

  InputFile& input_;
  const Wishes& wishes_;
  Problems& problems_;
  Budget budget_;

  ArbDocument* document_ = nullptr;
  std::vector<Level> levels_;  // outermost first
  Content content_;            // of the current member; goes before what it reads from
  std::unique_ptr<XmlProducer> xml_;
  std::string path_;  // of the current member, for messages
  bool begun_ = false;
  bool stopped_ = false;
  bool inputIsArchive_ = false;
  bool inputIsNeither_ = false;  // archive nor XML, by its beginning; it is parsed all the same
  bool checking_ = false;        // the content of a file is being read
  bool mustReturn_ = false;
  std::uint64_t bytesAtRunStart_ = 0;
  Production done_;
};

}  // namespace arbtree::tool

#endif
