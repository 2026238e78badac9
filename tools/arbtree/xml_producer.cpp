// Expat's handlers, and what each makes of its event.
#include "xml_producer.h"

#include <cstring>
#include <exception>
#include <new>
#include <utility>

#include "expat_stops.h"
#include "node_links.h"
#include "utf.h"

namespace arbtree::tool {
namespace {

// The library counts the records of a chunk's nodes and their text; what their attributes hold is ours to count.
constexpr std::size_t kAttributeBytesPerRun = std::size_t{128} * 1024;
// Where expat cannot be stopped, within entities.
constexpr std::uint64_t kMostNodesAtOnce = 250'000;

// Expat gives names and values in turn, and a null behind them.
std::size_t countAttributes(const char** attributes) {
  std::size_t count = 0;
  while (attributes[2 * count]) ++count;
  return count;
}

}  // namespace

// Nothing may be thrown through expat, and after a failure nothing more is made.
struct XmlProducer::Handlers {
  template <typename Work>
  static void guard(void* self, Work work) {
    auto& producer = *static_cast<XmlProducer*>(self);
    if (producer.failure_) [[unlikely]]
      return;
    try {
      work(producer);
    } catch (const std::bad_alloc&) {
      producer.fail("out of memory");
    } catch (const std::exception& error) {
      producer.fail(error.what());
    }
  }

  // The two events of every element run straight through.
  [[gnu::flatten]] static void XMLCALL startElement(void* self, const char* name, const char** attributes) {
    guard(self, [&](XmlProducer& producer) { producer.startElement(name, attributes); });
  }
  [[gnu::flatten]] static void XMLCALL endElement(void* self, const char*) {
    guard(self, [](XmlProducer& producer) { producer.endElement(); });
  }
  [[gnu::noinline]] static void XMLCALL text(void* self, const char* text, int length) {
    guard(self, [&](XmlProducer& producer) { producer.text(text, static_cast<std::size_t>(length)); });
  }
  // Where no values are wished: most text is only noted, and this is called for each of its lines.
  static void XMLCALL notedText(void* self, const char* text, int length) {
    auto& producer = *static_cast<XmlProducer*>(self);
    const bool noted = !producer.failure_ && producer.text_.noteAll(static_cast<std::size_t>(length));
    if (!noted) [[unlikely]]
      Handlers::text(self, text, length);
  }
  static void XMLCALL comment(void* self, const char* text) {
    guard(self, [&](XmlProducer& producer) { producer.leaf(producer.kinds_.comment(), text, nullptr); });
  }
  static void XMLCALL instruction(void* self, const char* target, const char* data) {
    guard(self, [&](XmlProducer& producer) { producer.leaf(producer.kinds_.instruction(), target, data); });
  }
  // Expat then gives up; what the input says of its encoding is known.
  static int XMLCALL unknownEncoding(void* self, const char* name, XML_Encoding*) {
    guard(self, [&](XmlProducer& producer) { producer.encoding_ = name; });
    return XML_STATUS_ERROR;
  }
  static void XMLCALL startDocumentType(void* self, const char*, const char* systemId, const char* publicId, int) {
    auto& producer = *static_cast<XmlProducer*>(self);
    producer.inDocumentType_ = true;
    if (systemId || publicId) producer.entities_.missPart();
  }
  // Parameter entities are not loaded, and what comes behind a reference to one is not looked at.
  static void XMLCALL entityDeclaration(void* self, const char* name, int isParameterEntity, const char*, int,
                                        const char*, const char*, const char*, const char*) {
    guard(self, [&](XmlProducer& producer) {
      isParameterEntity ? producer.entities_.missPart() : producer.entities_.add(name);
    });
  }
  static void XMLCALL endDocumentType(void* self) { static_cast<XmlProducer*>(self)->inDocumentType_ = false; }
  static void XMLCALL skippedEntity(void* self, const char* name, int isParameterEntity) {
    if (isParameterEntity) return;
    guard(self, [&](XmlProducer& producer) { producer.entityLeftOut(name); });
  }
  // The context names the entities open at this point, the one referred to last, with form feeds between them.
  static int XMLCALL externalEntity(XML_Parser parser, const char* context, const char*, const char*, const char*) {
    guard(XML_GetUserData(parser), [&](XmlProducer& producer) {
      const char* const last = context ? std::strrchr(context, '\f') : nullptr;
      producer.entityLeftOut(last ? last + 1 : context ? context : "");
    });
    return XML_STATUS_OK;
  }
};

XmlProducer::XmlProducer(ByteSource& input, const Limits& limits, ArbTree* tree, const NodeWishes& wishes)
    : input_(input),
      limits_(limits),
      wishes_(wishes),
      parser_(XML_ParserCreate(nullptr)),
      feed_(input, parser_),
      tree_(tree),
      document_(asChild(tree)->document),
      kinds_(ElementKinds::instance()),
      lastKind_(&kinds_.comment()) {
  if (!parser_) throw std::bad_alloc();
  setHandlers();
}

XmlProducer::~XmlProducer() { XML_ParserFree(parser_); }

void XmlProducer::setHandlers() {
  XML_SetUserData(parser_, this);
  XML_SetElementHandler(parser_, Handlers::startElement, Handlers::endElement);
  XML_SetCharacterDataHandler(parser_, wishes_.values ? Handlers::text : Handlers::notedText);
  XML_SetCommentHandler(parser_, Handlers::comment);
  XML_SetProcessingInstructionHandler(parser_, Handlers::instruction);
  XML_SetDoctypeDeclHandler(parser_, Handlers::startDocumentType, Handlers::endDocumentType);
  XML_SetEntityDeclHandler(parser_, Handlers::entityDeclaration);
  XML_SetSkippedEntityHandler(parser_, Handlers::skippedEntity);
  XML_SetExternalEntityRefHandler(parser_, Handlers::externalEntity);
  XML_SetUnknownEncodingHandler(parser_, Handlers::unknownEncoding, this);
  XML_SetBillionLaughsAttackProtectionMaximumAmplification(parser_, static_cast<float>(limits_.maxAmplification));
  XML_SetBillionLaughsAttackProtectionActivationThreshold(parser_, limits_.amplificationThreshold);
}

// --- Runs ------------------------------------------------------------------------------------------------------------

bool XmlProducer::run() {
  stopping_ = false;
  nodesAtRunStart_ = nodesMade_;
  attributeBytes_ = 0;
  if (!current_ && !begin()) return finish();
  XML_Status status = suspended_ ? XML_ResumeParser(parser_) : parseNext();
  while (status == XML_STATUS_OK && !feed_.isAtEnd() && !failure_) {
    std::uint32_t due = 0;
    ArbDocumentQueryBreak(document_, &due);
    suspended_ = false;
    if (due != 0) return false;
    status = parseNext();
  }
  suspended_ = status == XML_STATUS_SUSPENDED;
  if (suspended_ && !failure_) return false;
  if (status != XML_STATUS_OK && !failure_) failByExpat();
  return finish();
}

bool XmlProducer::begin() {
  current_ = ArbTreeRootNode(tree_);
  if (!prepareNamespaces(kinds_.comment())) return false;
  if (!wishes_.id.empty() && !referToId()) return false;
  if (!wishes_.watched) return true;
  const auto hook = [](std::uintptr_t node, void* self) -> std::uint32_t {
    static_cast<XmlProducer*>(self)->attachOffset(reinterpret_cast<ArbNode*>(node));
    return 0;
  };
  return check(ArbTreeSetProducerNodeHook(tree_, ARB_HOOK_ATTRIBUTES_DONE, wishes_.watched->elementId, hook, this));
}

// Where the tag being reported begins; where it comes from an entity, where the reference does. Once resumed within an
// entity, expat has no bytes for what it reports and only knows the place behind the reference.
std::uint64_t XmlProducer::eventOffset() const {
  if (XML_GetCurrentByteCount(parser_) == 0) return stoppedAt_;
  return static_cast<std::uint64_t>(XML_GetCurrentByteIndex(parser_));
}

void XmlProducer::attachOffset(ArbNode* node) {
  const std::uint64_t offset = eventOffset();
  check(ArbNodeSetMetadata(node, kNodeOffset, &offset, sizeof offset));
}

bool XmlProducer::referToId() {
  ArbString* name = nullptr;
  return check(ArbDocumentCreateString(document_, toUtf16(wishes_.id).c_str(), &name)) &&
         check(ArbTreeCreateNamedNodeReference(tree_, name, &awaited_));
}

// The reference on which the element with these attributes is to be made, or null.
ArbNodeRef* XmlProducer::takeAwaited(const char** attributes) {
  for (; *attributes; attributes += 2) {
    const std::string_view name = attributes[0];
    if ((name == "xml:id" || name == "id") && wishes_.id == attributes[1]) return std::exchange(awaited_, nullptr);
  }
  return nullptr;
}

// Expat knows few encodings by itself. An input in another one is begun again, transcoded.
XML_Status XmlProducer::parseNext() {
  XML_Status status = feed_.parseNext();
  const bool unknownEncoding = status == XML_STATUS_ERROR && XML_GetErrorCode(parser_) == XML_ERROR_UNKNOWN_ENCODING;
  if (unknownEncoding && !failure_ && feed_.canTranscode(encoding_)) {
    XML_ParserReset(parser_, "UTF-8");
    setHandlers();
    status = feed_.parseAgain();
  }
  if (!feed_.problem().empty()) fail(feed_.problem());
  return status;
}

// The tree's release completes and releases every node that is still open.
bool XmlProducer::finish() {
  if (current_ && !text_.isEmpty()) flushText();
  ArbForestChildProducerRelease(asChild(tree_));
  return true;
}

void XmlProducer::stopForBreak() {
  if (stopping_ || failure_) return;
  if (!canStopHere(parser_)) {
    if (nodesMade_ - nodesAtRunStart_ > kMostNodesAtOnce) failByEntity();
    return;
  }
  stopping_ = true;
  stoppedAt_ = eventOffset();
  XML_StopParser(parser_, XML_TRUE);
}

// --- Events ----------------------------------------------------------------------------------------------------------

void XmlProducer::startElement(const char* name, const char** attributes) {
  if (!text_.isEmpty()) [[likely]]
    flushText();
  if (depth_ == limits_.maxDepth) [[unlikely]]
    return failByDepth();
  ElementKind& kind = kinds_.element(name, *lastKind_);
  lastKind_ = &kind;
  attributesMade_ += countAttributes(attributes);
  if (wishes_.values) collectAttributes(kind, attributes);
  if (*attributes && !entities_.areAll()) [[unlikely]]
    entities_.eachUndeclared(parser_, [&](const std::string& entity) { entityLeftOut(entity); });
  if (!kinds_.isPublished(kind) && !publish(kind)) [[unlikely]]
    return;
  ElementNode* const element = makeElement(kind, awaited_ ? takeAwaited(attributes) : nullptr);
  if (!element || !link(&element->node)) return;
  current_ = &element->node;
  ++depth_;
  offerBreak();
}

void XmlProducer::endElement() {
  if (!text_.isEmpty()) flushText();
  ArbNode* const ended = current_;
  current_ = parentOf(*ended);
  --depth_;
  check(ArbNodeProducerRelease(ended));
}

void XmlProducer::text(const char* text, std::size_t length) {
  while (length != 0) {
    const std::size_t taken = wishes_.values ? text_.append(text, length) : text_.note(text, length);
    text += taken;
    length -= taken;
    if (length == 0) return;
    flushText();
    offerBreak();
  }
}

// Comments and instructions inside the document type go with it.
void XmlProducer::leaf(ElementKind& kind, const char* first, const char* second) {
  if (inDocumentType_) return;
  if (!text_.isEmpty()) flushText();
  newAttributes_.assign({{0, first}});
  if (second) newAttributes_.push_back({1, second});
  ElementNode* const element = makeElement(kind);
  if (!element || !link(&element->node)) return;
  check(ArbNodeProducerRelease(&element->node));
  offerBreak();
}

void XmlProducer::flushText() {
  ArbNode* node = nullptr;
  if (!create(ARB_ELEM_TEXT, nullptr, &node)) return;
  const bool filled = !wishes_.values || check(ArbAbstractTextNodeSetValue(node, text_.units(), text_.length()));
  text_.clear();
  if (!filled) {
    ArbNodeDestroy(node);
    return;
  }
  if (link(node)) check(ArbNodeProducerRelease(node));
}

void XmlProducer::entityLeftOut(const std::string& name) {
  if (omitted_.count++ != 0) return;
  omitted_.firstPlace = here();
  omitted_.firstName = name;
}

// --- Nodes -----------------------------------------------------------------------------------------------------------

void XmlProducer::collectAttributes(ElementKind& kind, const char** attributes) {
  std::uint32_t expected = 0;
  for (; *attributes; attributes += 2) {
    const std::uint32_t index = kinds_.attributeIndex(kind, attributes[0], expected);
    newAttributes_.push_back({index, attributes[1]});
    expected = index + 1;
  }
}

// What is kept of each name, and of each attribute's name on an element, is kept to the end.
[[gnu::noinline]] bool XmlProducer::publish(ElementKind& kind) {
  kinds_.publish(kind);
  if (kinds_.nameCount() <= limits_.maxNames) return true;
  newAttributes_.clear();
  fail(
      "more than " + std::to_string(limits_.maxNames) + " different names of elements and attributes (see --max-names)",
      true);
  return false;
}

// Every kind is known to its factory, which makes no node only when there is no memory.
bool XmlProducer::create(std::uint32_t elementId, ArbNodeRef* cell, ArbNode** node) {
  const ArbStatus status = ArbTreeCreateNode(tree_, elementId, cell, node);
  return check(status == ARB_ERR_NOTFOUND ? ARB_ERR_NOMEMORY : status);
}

// A new node with the collected attributes, or null after a failure.
ElementNode* XmlProducer::makeElement(ElementKind& kind, ArbNodeRef* cell) {
  ArbNode* node = nullptr;
  if (!prepareNamespaces(kind)) return nullptr;
  if (!create(kind.elementId, cell, &node)) return nullptr;
  ElementNode& element = asElement(*node);
  if (!newAttributes_.empty() && !takeAttributes(element)) return nullptr;
  check(ArbNodeAttributesDone(node));
  return &element;
}

bool XmlProducer::takeAttributes(ElementNode& element) {
  const bool assigned = assignAttributes(element, newAttributes_);
  newAttributes_.clear();
  if (!assigned) {
    ArbNodeDestroy(&element.node);
    return check(ARB_ERR_NOMEMORY);
  }
  attributeBytes_ += sizeof(char16_t) * element.list->values.size();
  if (attributeBytes_ >= kAttributeBytesPerRun) ArbDocumentForceBreak(document_);
  return true;
}

bool XmlProducer::addNamespaces(const ElementKind& kind) {
  for (; namespacesKnown_ < ElementKinds::namespacesFor(kind); ++namespacesKnown_) {
    if (!check(ArbTreeAddNodeFactory(tree_, ElementKinds::kFirstNamespace + namespacesKnown_))) return false;
  }
  return true;
}

bool XmlProducer::link(ArbNode* node) {
  if (!check(ArbNodeAppendChild(current_, node))) {
    ArbNodeDestroy(node);
    return false;
  }
  ++nodesMade_;
  return true;
}

// --- Failures --------------------------------------------------------------------------------------------------------

Place XmlProducer::here() const { return {XML_GetCurrentLineNumber(parser_), XML_GetCurrentColumnNumber(parser_) + 1}; }

// The first failure counts. Expat is told to go no further.
void XmlProducer::fail(std::string reason, bool isLimit) {
  if (failure_) return;
  failure_ = Failure{here(), std::move(reason), isLimit};
  XML_ParsingStatus parsing;
  XML_GetParsingStatus(parser_, &parsing);
  if (parsing.parsing == XML_PARSING || parsing.parsing == XML_SUSPENDED) XML_StopParser(parser_, XML_FALSE);
}

bool XmlProducer::refused(ArbStatus status) {
  fail(status == ARB_ERR_NOMEMORY ? "out of memory" : "the tree refused a change, status " + std::to_string(status));
  return false;
}

[[gnu::noinline]] void XmlProducer::failByDepth() {
  fail("elements are nested more than " + std::to_string(limits_.maxDepth) + " deep (see --max-depth)", true);
}

void XmlProducer::failByEntity() {
  fail("one reference to an entity stands for more than " + std::to_string(kMostNodesAtOnce) +
           " nodes, which this release of expat (" + XML_ExpatVersion() + ") can only give at once",
       true);
}

// Expat's own words, but for inputs that just end: there it says "no element found" also inside an element.
void XmlProducer::failByExpat() {
  const XML_Error code = XML_GetErrorCode(parser_);
  if (code == XML_ERROR_NO_ELEMENTS) {
    if (depth_ != 0) return fail("the input ends inside element <" + kindOf(*current_).name + ">");
    return fail(input_.bytesRead() == 0 ? "the input is empty" : "the input ends without an element");
  }
  if (code == XML_ERROR_AMPLIFICATION_LIMIT_BREACH) {
    return fail("entities amplify the input more than " + std::to_string(limits_.maxAmplification) +
                    " times: amplification limit (see --max-amplification)",
                true);
  }
  fail(XML_ErrorString(code));
}

}  // namespace arbtree::tool
