#include "support/host.h"

#include "support/standins.h"

namespace arbtree::test {

namespace {
constexpr std::uint32_t kArgument2 = 0x22;
constexpr std::uint32_t kArgument3 = 0x33;

std::vector<Host*>& handles() {
  static std::vector<Host*> table;
  return table;
}
}  // namespace

Host::Host(std::uint32_t mode, std::uint32_t source, const char16_t* nameTemplate)
    : handle_(static_cast<std::uint32_t>(handles().size())) {
  handles().push_back(this);
  registerTestNamespaces();
  context.startEntry = startEntry;
  context.continueEntry = continueEntry;
  context.producerArg1 = handle_;
  context.producerArg2 = kArgument2;
  context.producerArg3 = kArgument3;
  ok(ArbDocumentCreate(source, &context, nameTemplate, statusContext(), mode, &document));
}

Host::~Host() {
  if (elementTrace == &events) elementTrace = nullptr;
  destroy();
  handles()[handle_] = nullptr;
}

void Host::destroy() {
  if (document) ok(ArbDocumentDestroy(document));
  document = nullptr;
}

Host& Host::then(Step step) {
  steps_.push_back(std::move(step));
  return *this;
}

void Host::record(bool kinds) {
  if (kinds) elementTrace = &events;
  ok(ArbDocumentRegisterCallback(document, Recorder::onEvent, &events));
}

std::uint32_t ARB_CALL Host::startEntry(std::uint32_t handle, std::uint32_t argument2, std::uint32_t argument3) {
  return handles().at(handle)->run("start", argument2, argument3);
}

std::uint32_t ARB_CALL Host::continueEntry(std::uint32_t handle, std::uint32_t argument2, std::uint32_t argument3) {
  return handles().at(handle)->run("continue", argument2, argument3);
}

ArbStatus Host::run(const char* entry, std::uint32_t argument2, std::uint32_t argument3) {
  EXPECT_EQ(kArgument2, argument2);
  EXPECT_EQ(kArgument3, argument3);
  runs.emplace_back(entry);
  for (std::uint32_t done = 0; nextStep_ < steps_.size(); ++done) {
    if (stepsPerRun != 0 && done == stepsPerRun) return ARB_OK;
    const Step& step = steps_[nextStep_++];
    const ArbStatus status = step();
    if (status == kPause) return ARB_OK;
    if (status != ARB_OK) return status;
  }
  return endResult;
}

ArbTree* Host::makeTree(ArbForest* parent, const char16_t* nameTemplate) {
  ArbTree* tree = nullptr;
  events.setName(document->nodeCounter + 1, "root");
  ok(ArbDocumentCreateTree(document, nameTemplate, &tree));
  ok(ArbTreeAddNodeFactory(tree, kTestNamespace));
  ok(ArbForestAppendChild(parent ? parent : document->rootForest, asChild(tree)));
  return tree;
}

ArbForest* Host::makeForest(ArbForest* parent, const char16_t* nameTemplate) {
  ArbForest* forest = nullptr;
  ok(ArbDocumentCreateForest(document, nameTemplate, &forest));
  EXPECT_EQ(1u, forest->archiveType);
  if (parent) ok(ArbForestAppendChild(parent, asChild(forest)));
  return forest;
}

ArbFile* Host::makeFile(const char16_t* nameTemplate, std::uint16_t formatId) {
  ArbFile* file = nullptr;
  ok(ArbDocumentCreateFile(document, nameTemplate, formatId, &file));
  return file;
}

ArbString* Host::makeString(const std::u16string& text) {
  ArbString* string = nullptr;
  ok(ArbDocumentCreateString(document, text.c_str(), &string));
  return string;
}

ArbNode* Host::make(ArbTree* tree, const std::string& name, std::uint32_t id, ArbNodeRef* cell) {
  ArbNode* node = nullptr;
  const bool reserved = cell && cell->state == ARB_REF_FLOATING;
  events.setName(reserved ? static_cast<std::uint32_t>(cell->value) : document->nodeCounter + 1, name);
  EXPECT_EQ(ARB_OK, ArbTreeCreateNode(tree, id, cell, &node)) << name;
  return node;
}

ArbNode* Host::append(ArbNode* parent, const std::string& name, std::uint32_t id) {
  ArbNode* const node = make(parent->tree, name, id);
  EXPECT_EQ(ARB_OK, ArbNodeAppendChild(parent, node)) << name;
  return node;
}

ArbNode* Host::appendText(ArbNode* parent, const std::u16string& value, std::uint32_t id) {
  ArbNode* const node = append(parent, "t", id);
  ok(ArbAbstractTextNodeSetValue(node, value.data(), static_cast<std::uint32_t>(value.size())));
  return node;
}

std::string Host::shape(const ArbNode* node) const {
  std::string text = events.nameOf(node);
  const ArbNodeRef* previous = nullptr;
  std::string children;
  std::uint32_t count = 0;
  for (const ArbNode* child = resolve(node->firstChildCell); child; child = resolve(child->nextSiblingCell)) {
    EXPECT_EQ(previous, child->prevSiblingCell) << events.nameOf(child);
    EXPECT_EQ(node->cell, child->parentCell) << events.nameOf(child);
    EXPECT_TRUE(child->flags & ARB_NODE_LINKED) << events.nameOf(child);
    children += joined({count++ ? " " : "", shape(child)});
    previous = child->cell;
  }
  EXPECT_EQ(previous, node->lastChildCell) << text;
  EXPECT_EQ(count, node->childCount - node->freedChildCount) << text;
  return count ? joined({text, "(", children, ")"}) : text;
}

ArbNode* resolve(const ArbNodeRef* cell) {
  return cell && cell->state == ARB_REF_NODE ? reinterpret_cast<ArbNode*>(cell->value) : nullptr;
}

ArbNode* rootOf(ArbTree* tree) { return ArbTreeRootNode(tree); }

ArbForestChild* asChild(void* forestFileOrTree) { return static_cast<ArbForestChild*>(forestFileOrTree); }

ArbNode* untouchedNode() {
  static ArbNode node{};
  return &node;
}

}  // namespace arbtree::test
