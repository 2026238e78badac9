#include "content_producer.h"

#include <new>
#include <stdexcept>
#include <utility>

#include "child_info.h"
#include "interrupt.h"
#include "node_links.h"

namespace arbtree::tool {
namespace {

// So many bytes of something compressed tell whether an archive is in it.
constexpr std::size_t kProbeBytes = std::size_t{64} * 1024;

// "dump.xml.gz" holds "dump.xml".
std::string withoutEnding(const std::string& path) {
  const std::string name = path.substr(path.find_last_of('/') + 1);
  const std::size_t dot = name.rfind('.');
  return dot == std::string::npos || dot == 0 ? name + ".content" : name.substr(0, dot);
}

std::string nameOf(const InputFile& input) {
  return input.path() == "-" ? "stdin" : input.path().substr(input.path().find_last_of('/') + 1);
}

}  // namespace

ContentProducer::ContentProducer(InputFile& input, const Limits& limits, const Wanted& wanted, Report& report)
    : input_(input), wanted_(wanted), report_(report), spending_(limits) {}

ContentProducer::~ContentProducer() {
  // An inner reader still uses the content of the outer one.
  xml_.reset();
  content_.reset();
  while (!levels_.empty()) levels_.pop_back();
}

std::uint32_t ContentProducer::run(ArbDocument* document) {
  document_ = document;
  ++finished_.runs;
  currentFile_ = nullptr;
  try {
    if (!started_) start();
    while ((xml_ || !levels_.empty()) && !broken_) {
      if (isInterrupted()) fail(nullptr, "interrupted");
      if (broken_) break;
      step();
      if (isDue() || currentFile_) return ARB_OK;
    }
  } catch (const std::bad_alloc&) {
    fail(nullptr, "out of memory");
  }
  if (currentFile_) return ARB_OK;
  if (xml_) finishTree();
  while (!levels_.empty()) closeLevel();
  ArbForestAllChildrenAttached(ArbDocumentRootForest(document_));
  return ARB_STATUS_END;
}

bool ContentProducer::isDue() const {
  std::uint32_t due = 0;
  ArbDocumentQueryBreak(document_, &due);
  return due != 0;
}

void ContentProducer::start() {
  started_ = true;
  auto content = std::make_unique<Lookahead>(input_);
  Member member;
  member.path = nameOf(input_);
  member.size = input_.size();
  ContentSort sort = sortByContent(content->peek(kSortBytes));
  if (sort == ContentSort::file && wanted_.plainIsXml) sort = ContentSort::xml;
  makeContent(member, std::move(content), sort);
}

void ContentProducer::step() {
  if (!xml_) return nextMember();
  xml_->run();
  if (xml_->isFinished()) finishTree();
}

// --- Archives --------------------------------------------------------------------------------------------------------

void ContentProducer::nextMember() {
  content_.reset();
  Level& level = *levels_.back();
  Member member;
  ArchiveReader::Next next = ArchiveReader::Next::member;
  if (level.first) {
    member = *std::exchange(level.first, std::nullopt);
  } else {
    next = level.reader->next(member);
  }
  switch (next) {
    case ArchiveReader::Next::member:
      if (!spending_.addMember()) return fail(nullptr, spending_.message());
      return makeMember(member);
    case ArchiveReader::Next::skipped:
      return fail(&level.forest->child, level.reader->error());
    case ArchiveReader::Next::failed:
      return failLevel();
    case ArchiveReader::Next::end:
      return closeLevel();
  }
}

void ContentProducer::makeMember(const Member& member) {
  if (member.type != MemberType::file) return makeFile(member, nullptr);
  auto content = std::make_unique<Lookahead>(std::make_unique<MemberSource>(*levels_.back()->reader));
  const std::optional<ContentSort> named = sortByName(member.path);
  ContentSort sort = named ? *named : sortByContent(content->peek(kSortBytes));
  // An input that is only compressed is what is in it.
  const bool isInput = levels_.size() == 1 && levels_.back()->reader->isCompressedFile();
  if (sort == ContentSort::file && isInput && wanted_.plainIsXml) sort = ContentSort::xml;
  makeContent(member, std::move(content), sort);
}

void ContentProducer::makeContent(const Member& member, std::unique_ptr<Lookahead> content, ContentSort sort) {
  const bool isArchive = sort == ContentSort::archive || sort == ContentSort::seekingArchive;
  // A compressed file in an archive is a member like any other, but for what XML it may hold.
  const bool isOpened =
      levels_.empty() ||
      (wanted_.archives && !(wanted_.xmlAsFiles && isArchive && beginsCompressedFile(content->peek(kProbeBytes))));
  if (isArchive && isOpened) {
    if (sort == ContentSort::archive || content->canSeek()) {
      if (openArchive(member, content)) return;
    } else {
      report_.failure(displayName(member.path), std::nullopt, "a 7z archive can only be read from a file of its own",
                      kFailure);
    }
  }
  if (sort == ContentSort::xml && !wanted_.xmlAsFiles) return makeTree(member, std::move(content));
  makeFile(member, std::move(content));
}

// False when the bytes are no archive after all, and `content` then gives them from the beginning.
bool ContentProducer::openArchive(const Member& member, std::unique_ptr<Lookahead>& content) {
  if (!spending_.enter(levels_.size())) {
    fail(nullptr, spending_.message());
    return true;
  }
  if (content->canSeek()) content->seek(0, SEEK_SET);
  auto level = std::make_unique<Level>();  // all zeros
  level->source = std::move(content);
  level->reader =
      std::make_unique<ArchiveReader>(*level->source, withoutEnding(member.path), spending_, input_.bytesRead());
  Member first;
  const ArchiveReader::Next next = level->reader->next(first);
  if (next == ArchiveReader::Next::member) level->first = first;
  if (next == ArchiveReader::Next::member && level->reader->isPlain()) {
    content =
        std::make_unique<Lookahead>(std::make_unique<MemberSource>(std::move(level->source), std::move(level->reader)));
    return false;
  }
  level->forest = ArbDocumentRootForest(document_);
  if (!levels_.empty()) {
    ArbForest* forest = nullptr;
    if (!check(ArbDocumentCreateForest(document_, namePattern(member.path).c_str(), &forest))) return true;
    if (!append(&forest->child, member)) return true;
    level->forest = forest;
  }
  levels_.push_back(std::move(level));
  if (next == ArchiveReader::Next::skipped) fail(&forest()->child, levels_.back()->reader->error());
  if (next == ArchiveReader::Next::failed) failLevel();
  if (next == ArchiveReader::Next::end) closeLevel();
  return true;
}

// An archive that cannot be read any further. Where that is because the archive around it cannot, one message will do.
void ContentProducer::failLevel() {
  const Level& level = *levels_.back();
  if (!level.reported) fail(&level.forest->child, level.reader->error());
  closeLevel();
  if (!levels_.empty() && !levels_.back()->reader->error().empty()) levels_.back()->reported = true;
}

void ContentProducer::closeLevel() {
  content_.reset();
  ArbForest* const forest = levels_.back()->forest;
  levels_.pop_back();
  if (!forest->child.parent) return;  // the root forest is closed at the end
  ArbForestAllChildrenAttached(forest);
  ArbForestChildProducerRelease(&forest->child);
}

ArbForest* ContentProducer::forest() const {
  return levels_.empty() ? ArbDocumentRootForest(document_) : levels_.back()->forest;
}

// --- Files and trees -------------------------------------------------------------------------------------------------

void ContentProducer::makeFile(const Member& member, std::unique_ptr<ByteSource> content) {
  ArbFile* file = nullptr;
  if (!check(ArbDocumentCreateFile(document_, namePattern(member.path).c_str(), 0, &file))) return;
  if (!append(&file->child, member)) return;
  ArbForestChildProducerRelease(&file->child);
  if (!wanted_.files) return;
  content_ = std::move(content);
  currentFile_ = file;
}

void ContentProducer::makeTree(const Member& member, std::unique_ptr<ByteSource> content) {
  ArbTree* tree = nullptr;
  if (!check(ArbDocumentCreateTree(document_, namePattern(member.path).c_str(), &tree))) return;
  if (!append(asChild(tree), member)) return;
  if (!wanted_.xml || !isWanted(*asChild(tree))) {
    ArbForestChildProducerRelease(asChild(tree));
    return;
  }
  content_ = std::move(content);
  currentTree_ = tree;
  xml_ = std::make_unique<XmlProducer>(*content_, spending_.limits(), wanted_.details, document_, tree);
}

bool ContentProducer::isWanted(ArbForestChild& child) const {
  return wanted_.member.empty() || displayPath(child) == wanted_.member;
}

// Also for a tree that an interruption leaves unfinished, which the document then completes.
void ContentProducer::finishTree() {
  const std::string path = levels_.empty() ? std::string() : displayPath(*asChild(currentTree_));
  if (const auto& failure = xml_->failure()) {
    report_.failure(path, failure->place, failure->reason,
                    xml_->reachedLimit() || spending_.isOver() ? kLimitReached : kFailure);
    if (spending_.isOver()) broken_ = true;
  } else if (const OmittedEntities& omitted = xml_->omitted(); omitted.count != 0) {
    report_.warning(path, omitted.firstPlace,
                    "entity \"" + omitted.firstName + "\" is not declared in the document itself and was left out (" +
                        std::to_string(omitted.count) + " such references in all)");
  }
  if (!levels_.empty() && !content_->error().empty()) levels_.back()->reported = true;
  if (!xml_->isFinished()) ArbForestChildProducerRelease(asChild(currentTree_));
  finished_.nodes += xml_->nodesMade();
  finished_.attributes += xml_->attributesMade();
  xml_.reset();
  currentTree_ = nullptr;
}

bool ContentProducer::append(ArbForestChild* child, const Member& member) {
  return check(keepMember(*child, member) ? ARB_OK : ARB_ERR_NOMEMORY) && check(ArbForestAppendChild(forest(), child));
}

std::optional<std::size_t> ContentProducer::readFile(const ArbFile* file, void* buffer, std::size_t size) {
  if (file != currentFile_) return std::nullopt;
  if (!content_) return 0;
  const std::optional<std::size_t> count = content_->read(buffer, size);
  if (!count && !levels_.empty()) levels_.back()->reported = true;
  if (spending_.isOver()) fail(nullptr, spending_.message());
  return count;
}

const std::string& ContentProducer::fileError() const { return content_ ? content_->error() : noContent_; }

ProducerCounts ContentProducer::counts() const {
  ProducerCounts counts = finished_;
  if (xml_) {
    counts.nodes += xml_->nodesMade();
    counts.attributes += xml_->attributesMade();
  }
  return counts;
}

// --- Failures --------------------------------------------------------------------------------------------------------

// Of a child document, or of everything: then nothing more is made.
void ContentProducer::fail(ArbForestChild* child, const std::string& reason) {
  if (broken_) return;
  const int status = spending_.isOver() ? kLimitReached : isInterrupted() ? kInterrupted : kFailure;
  const bool isInner = child && child->parent;
  report_.failure(isInner ? displayPath(*child) : std::string(), std::nullopt, reason, status);
  broken_ = !child || spending_.isOver();
}

bool ContentProducer::check(ArbStatus status) {
  if (status == ARB_OK) return true;
  fail(nullptr, status == ARB_ERR_NOMEMORY ? "out of memory"
                                           : "the document refused a change, status " + std::to_string(status));
  return false;
}

}  // namespace arbtree::tool
