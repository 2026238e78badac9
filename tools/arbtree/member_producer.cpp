// Levels, members, and what each becomes.
#include "member_producer.h"

#include <new>
#include <stdexcept>
#include <utility>

#include "member_name.h"
#include "node_links.h"

namespace arbtree::tool {
namespace {

// A run that reads this much gives the consumer a chance to show what there is.
constexpr std::uint64_t kBytesPerRun = std::uint64_t{4} * 1024 * 1024;

constexpr std::uint32_t kZipArchive = 1;
constexpr std::uint32_t kOtherArchive = 2;

ContentKind look(ByteSource& content, NameOfContent name) {
  return recognise(content.peek(bytesToTell(content.peek(kSignBytes), name)), name);
}

}  // namespace

// --- Runs ------------------------------------------------------------------------------------------------------------

std::uint32_t MemberProducer::run(ArbDocument* document) {
  document_ = document;
  ++done_.runs;
  mustReturn_ = false;
  bytesAtRunStart_ = budget_.bytes();
  while (step()) {
    if (mustReturn_ || wishes_.oneByOne || isChunkFull()) return ARB_OK;
  }
  ArbForestAllChildrenAttached(ArbDocumentRootForest(document_));
  return ARB_STATUS_END;
}

// False when everything has been produced.
bool MemberProducer::step() {
  if (begun_ && !budget_.isWithin()) {
    // The consumer passed a limit while it read a file.
  } else if (!begun_) {
    begin();
  } else if (xml_) {
    if (xml_->run()) {
      finishTree();
    } else {
      mustReturn_ = true;
    }
  } else if (checking_) {
    checkOn();
  } else {
    nextMember();
  }
  if (!budget_.isWithin() && !stopped_) {
    problems_.member(path_, budget_.problem(), kLimitPassed);
    stop();
  }
  return xml_ || !levels_.empty();
}

bool MemberProducer::isChunkFull() const {
  std::uint32_t due = 0;
  ArbDocumentQueryBreak(document_, &due);
  return due != 0 || budget_.bytes() - bytesAtRunStart_ > kBytesPerRun;
}

void MemberProducer::begin() {
  begun_ = true;
  content_.raw = &input_;
  const NewMember member = describeInput();
  examine(content_, input_.isStandardInput() ? NameOfContent() : member.name, wishes_.inputIsXml);
  if (!budget_.isWithin()) return;
  if (!input_.error().empty()) return problems_.member("", input_.error());
  if (isArchive(content_.kind)) {
    inputIsArchive_ = true;
    return enterArchive(ArbDocumentRootForest(document_), "", "");
  }
  if (content_.kind != ContentKind::xml || !wishes_.parsesXml) return addFile(member);
  const std::string_view beginning = content_.useful().peek(kSignBytes);
  inputIsNeither_ = !beginning.empty() && !beginsWithMarkup(beginning);
  addTree(member);
}

Production MemberProducer::production() const {
  Production sum = done_;
  if (xml_) {
    sum.nodes += xml_->nodesMade();
    sum.attributes += xml_->attributesMade();
  }
  return sum;
}

// --- Members ---------------------------------------------------------------------------------------------------------

void MemberProducer::nextMember() {
  content_ = {};
  Level& level = levels_.back();
  switch (level.reader->next()) {
    case ArchiveReader::Step::entry:
      return takeMember(level.reader->entry());
    case ArchiveReader::Step::failed:
      path_ = level.path;
      if (budget_.isWithin()) problems_.member(level.path, level.reader->error());
      return closeLevel();
    case ArchiveReader::Step::end:
      return closeLevel();
  }
}

void MemberProducer::takeMember(archive_entry& entry) {
  const NewMember member = describe(entry);
  path_ = pathFor(member);
  if (!budget_.spendMember()) return;
  if (const std::string& warning = levels_.back().reader->warning(); !warning.empty()) {
    problems_.member(path_, warning);
  } else if (!member.hasName) {
    problems_.member(path_, "its name in the archive cannot be read");
  }
  if (!mayHaveContent(member)) return addFile(member);
  content_.owned = levels_.back().reader->content(budget_);
  content_.raw = content_.owned.get();
  if (!isOpaqueByName(member.name)) examine(content_, member.name, false);
  if (!budget_.isWithin()) return;
  if (isArchive(content_.kind) && (!wishes_.wantsMembers || wishes_.wantsMembers(path_))) return addArchive(member);
  if (content_.kind == ContentKind::xml && wishes_.parsesXml) return addTree(member);
  addFile(member);
  checking_ = wishes_.checksFiles;
  if (!wishes_.readsFiles && !checking_) reportContent();
}

// A zip archive has a check sum of every member, which shows when a size of zero is damage.
bool MemberProducer::mayHaveContent(const NewMember& member) const {
  const bool isFile = (member.facts.mode & AE_IFMT) == AE_IFREG && member.facts.link == LinkKind::none;
  return isFile && (member.facts.size != 0 || levels_.back().content.kind == ContentKind::zip);
}

void MemberProducer::reportContent() {
  if (!content_.raw->error().empty() && budget_.isWithin()) problems_.member(path_, content_.raw->error());
}

// A block of a file that nobody else reads.
void MemberProducer::checkOn() {
  const auto block = content_.raw->next();
  if (block && !block->empty()) return;
  checking_ = false;
  reportContent();
}

MemberProducer::NewMember MemberProducer::describeInput() const {
  NewMember member = {input_.name(), toPattern(input_.name()), true, {}, {}};
  MemberFacts& facts = member.facts;
  facts.size = -1;
  facts.mode = AE_IFREG | 0644;
  if (const struct stat* const status = input_.status()) {
    facts.size = status->st_size;
    facts.mode = status->st_mode;
    facts.hasTime = 1;
    facts.time = status->st_mtime;
  }
  return member;
}

MemberProducer::NewMember MemberProducer::describe(archive_entry& entry) const {
  NewMember member;
  const auto& name = levels_.back().reader->name();
  member.hasName = name.has_value();
  member.name = name ? *name : "#" + std::to_string(budget_.members() + 1);
  member.pattern = toPattern(member.name);
  MemberFacts& facts = member.facts;
  facts = {};
  facts.size = archive_entry_size_is_set(&entry) ? archive_entry_size(&entry) : -1;
  facts.mode = archive_entry_mode(&entry);
  if ((facts.mode & AE_IFMT) == 0) facts.mode |= AE_IFREG;  // not all archives say what is no folder, link or device
  facts.hasTime = archive_entry_mtime_is_set(&entry) ? 1 : 0;
  facts.time = archive_entry_mtime(&entry);
  facts.nanoseconds = static_cast<std::uint32_t>(archive_entry_mtime_nsec(&entry));
  if (const char* const target = archive_entry_hardlink(&entry)) {
    // In some formats the content comes with one of a file's later names, which is no mere link then.
    if (facts.size <= 0) facts.link = LinkKind::hard;
    member.link = target;
  } else if (archive_entry_filetype(&entry) == AE_IFLNK) {
    facts.link = LinkKind::symbolic;
    const char* const path = archive_entry_symlink(&entry);
    member.link = path ? path : "";
  }
  return member;
}

// What is unpacked to be looked at is kept packed too, until settle() says which of the two is wanted.
void MemberProducer::examine(Content& content, NameOfContent name, bool xmlByDefault) {
  content.kind = look(*content.raw, name);
  if (content.kind == ContentKind::compressed) content.kind = recogniseUnpacked(content, name);
  if (content.kind == ContentKind::compressed) {
    problems_.member(
        path_,
        "compressed more than " + std::to_string(budget_.limits().maxNesting) + " times over (see --max-nesting)",
        kLimitPassed);
    content.kind = ContentKind::other;
  } else if (content.kind == ContentKind::other && xmlByDefault) {
    content.kind = ContentKind::xml;  // which tells what is wrong
  } else if (content.kind == ContentKind::other) {
    reportDoubt(content, name);
  }
}

// The kind of what is unpacked; still compressed when that is so too often.
ContentKind MemberProducer::recogniseUnpacked(Content& content, NameOfContent name) {
  content.raw->hold();
  std::string unpackedName;
  ContentKind kind = ContentKind::compressed;
  while (kind == ContentKind::compressed && content.unpacked.size() < budget_.limits().maxNesting) {
    content.unpacked.push_back(decompress(content.useful(), budget_));
    if (name) name = unpackedName = nameOfUnpacked(*name);
    kind = look(content.useful(), name);
  }
  return kind;
}

// Content that is taken for a file may be one that is damaged. Some compressions tell so only after the bytes that are
// wrong, so without a name that promises more the beginning is read on: blocks of bzip2 are seldom more.
void MemberProducer::reportDoubt(Content& content, NameOfContent name) {
  constexpr std::uint64_t kReadOn = std::uint64_t{1024} * 1024;
  ByteSource& useful = content.useful();
  const bool isUnpacked = !content.unpacked.empty();
  if (isUnpacked && !name) {
    while (useful.bytesRead() < kReadOn) {
      const auto block = useful.next();
      if (!block || block->empty()) break;
    }
  }
  if (!budget_.isWithin()) return;
  const bool isEmpty = useful.bytesRead() == 0 && useful.peek(1).empty();
  if (isUnpacked && content.raw->isFull()) {
    if (isEmpty) problems_.member(path_, "taken for a file, as its beginning unpacks to nothing");
  } else if (isUnpacked && !useful.error().empty()) {
    problems_.member(path_, "cannot be unpacked: " + useful.error());
  } else if (name && promisesMore(*name) && !isEmpty) {
    problems_.member(path_, "taken for a file: its name promises more, but it does not begin so");
  }
}

void MemberProducer::settle(Content& content, bool unpacked) {
  if (content.unpacked.empty()) return;
  if (unpacked) return content.raw->letGo();
  content.unpacked.clear();
  content.raw->rewind();
}

// --- Child documents -------------------------------------------------------------------------------------------------

ArbForest* MemberProducer::currentForest() const {
  return levels_.empty() ? ArbDocumentRootForest(document_) : levels_.back().forest;
}

std::string MemberProducer::pathFor(const NewMember& member) const {
  if (levels_.empty() || levels_.back().path.empty()) return member.name;
  return levels_.back().path + "/" + member.name;
}

bool MemberProducer::attach(ArbForestChild* child, const NewMember& member) {
  setFacts(*child, member.facts);
  if (!member.link.empty()) setBytes(*child, kMemberLink, member.link);
  const bool parentIsLong = !levels_.empty() && !levels_.back().longPath.empty();
  if (parentIsLong || isTooLong(member.pattern)) setBytes(*child, kMemberPath, pathFor(member));
  return check(ArbForestAppendChild(currentForest(), child));
}

void MemberProducer::addFile(const NewMember& member) {
  ++done_.files;
  settle(content_, false);
  content_.kind = ContentKind::other;
  ArbFile* file = nullptr;
  if (!check(ArbDocumentCreateFile(document_, member.pattern.c_str(), 0, &file))) return;
  if (!attach(&file->child, member)) return;
  check(ArbForestChildProducerRelease(&file->child));
  mustReturn_ = wishes_.readsFiles;
}

void MemberProducer::addTree(const NewMember& member) {
  ++done_.documents;
  ArbTree* tree = nullptr;
  if (!check(ArbDocumentCreateTree(document_, member.pattern.c_str(), &tree))) return;
  if (!attach(asChild(tree), member)) return;
  if (wishes_.wantsNodes && !wishes_.wantsNodes(pathFor(member))) {
    check(ArbForestChildProducerRelease(asChild(tree)));
    return;
  }
  settle(content_, true);
  xml_ = std::make_unique<XmlProducer>(content_.useful(), budget_.limits(), tree, wishes_.nodes);
}

void MemberProducer::addArchive(const NewMember& member) {
  if (levels_.size() >= budget_.limits().maxNesting) {
    problems_.member(
        path_,
        "archives are nested more than " + std::to_string(budget_.limits().maxNesting) + " deep (see --max-nesting)",
        kLimitPassed);
    return addFile(member);
  }
  ArbForest* forest = nullptr;
  if (!check(ArbDocumentCreateForest(document_, member.pattern.c_str(), &forest))) return;
  const bool isZip = content_.kind == ContentKind::zip;
  if (!check(ArbForestSetArchiveType(forest, isZip ? kZipArchive : kOtherArchive))) return;
  if (!attach(&forest->child, member)) return;
  std::string longPath = bytesOf(forest->child, kMemberPath);
  enterArchive(forest, path_, std::move(longPath));
}

void MemberProducer::enterArchive(ArbForest* forest, std::string path, std::string longPath) {
  ++done_.archives;
  settle(content_, true);
  Level level = {std::move(content_), nullptr, forest, std::move(path), std::move(longPath)};
  content_ = {};
  std::string problem;
  const bool isReadAnywhere = level.content.kind == ContentKind::sevenZip || level.content.kind == ContentKind::xar;
  if (isReadAnywhere && !level.content.useful().canSeek()) {
    level.content.spooled = InputFile::spool(level.content.useful(), problem);
  }
  level.reader = std::make_unique<ArchiveReader>(level.content.useful(), level.content.kind);
  levels_.push_back(std::move(level));
  if (problem.empty()) return;
  if (budget_.isWithin()) problems_.member(levels_.back().path, problem);
  closeLevel();
}

void MemberProducer::finishTree() {
  done_.nodes += xml_->nodesMade();
  done_.attributes += xml_->attributesMade();
  const std::string path = inputIsArchive_ ? path_ : "";
  if (auto failure = xml_->failure()) {
    const bool isNothing = inputIsNeither_ && xml_->nodesMade() == 0;
    if (isNothing) failure->reason = "neither XML nor an archive (" + failure->reason + ")";
    if (budget_.isWithin()) problems_.xml(path, *failure);
  } else if (const OmittedEntities& omitted = xml_->omitted(); omitted.count != 0) {
    problems_.warning(path, omitted.firstPlace,
                      "entity \"" + shown(omitted.firstName) +
                          "\" is not declared in the document itself and was left out (" +
                          std::to_string(omitted.count) + " such references in all)");
  }
  xml_.reset();
}

void MemberProducer::closeLevel() {
  ArbForest* const forest = levels_.back().forest;
  levels_.pop_back();
  if (forest == ArbDocumentRootForest(document_)) return;
  check(ArbForestAllChildrenAttached(forest));
  check(ArbForestChildProducerRelease(&forest->child));
}

// Ends everything that is open, so that the consumer comes to an end everywhere.
void MemberProducer::stop() {
  stopped_ = true;
  checking_ = false;
  if (xml_) {
    check(ArbForestChildProducerRelease(asChild(xml_->tree())));
    xml_.reset();
  }
  content_ = {};
  while (!levels_.empty()) closeLevel();
}

bool MemberProducer::check(ArbStatus status) {
  if (status == ARB_OK) return true;
  if (status == ARB_ERR_NOMEMORY) throw std::bad_alloc();
  throw std::runtime_error("the library refused a member, status " + std::to_string(status));
}

}  // namespace arbtree::tool
