// The document-order walk: all callbacks in whole sequences, stopping and skipping, and producers that fail.
#include <algorithm>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "platform/heap.h"
#include "support/attribute_kinds.h"
#include "support/bail_out.h"
#include "support/host.h"
#include "support/standins.h"

namespace arbtree::test {
namespace {

// Takes the callbacks of one walk. Each answers another number, 100 and its place in the sequence, so that the walk's
// result says whose answer it is; the one that writes the line `zeroAt` answers zero.
struct Walk {
  const Recorder& names;
  std::string zeroAt = {};
  std::function<void(ArbNode*)> during = {};  // gets the node, or null where the callback gets none
  Lines lines = {};

  std::uint32_t add(const std::string& line, ArbNode* node) {
    lines.push_back(line);
    if (during) during(node);
    return line == zeroAt ? 0 : static_cast<std::uint32_t>(100 + lines.size());
  }
  static Walk& of(void* self) { return *static_cast<Walk*>(self); }

  template <char kWhich>
  static std::uint32_t ARB_CALL element(ArbNode* node, std::uint32_t id, void* self) {
    EXPECT_EQ(node->nodeType->elementId, id);
    static const std::map<char, std::string> words = {
        {'s', "start "}, {'c', "enter "}, {'e', "end "}, {'a', "attributes "}, {'z', "/attributes "}};
    return of(self).add(words.at(kWhich) + of(self).names.nameOf(node), node);
  }
  static std::uint32_t ARB_CALL attribute(ArbNode* node, std::uint32_t id, std::uint32_t attributeId,
                                          std::uintptr_t value, std::uint32_t info, void* self) {
    EXPECT_EQ(node->nodeType->elementId, id);
    std::ostringstream line;
    line << of(self).names.nameOf(node) << " " << std::hex << attributeId << "=" << value << " " << std::dec << info;
    return of(self).add(line.str(), node);
  }
  template <char kWhich>
  static std::uint32_t ARB_CALL text(const char16_t* text, std::uint32_t length, void* self) {
    EXPECT_EQ(text == nullptr, length == 0);
    const std::u16string units(text ? text : u"", length);
    return of(self).add(std::string("text") + kWhich + " '" + std::string(units.begin(), units.end()) + "'", nullptr);
  }
  static const ArbTraverserCallbacks* all() {
    static const ArbTraverserCallbacks callbacks = {element<'s'>, element<'c'>, element<'e'>, element<'a'>, attribute,
                                                    element<'z'>, text<'1'>,    text<'4'>,    text<'3'>};
    return &callbacks;
  }
};

// root(e(text 'x' f(text3 '' bytes 'ab') text4 'y') k), e and k with attributes, made step by step.
class Content {
 public:
  // The producer makes only the first `steps` of it.
  explicit Content(std::size_t steps = kSteps) {
    addAttributeKinds(tree);
    const Host::Step script[kSteps] = {
        [this] { return e = open(root, "e", kAttributeKind, 0b1011), ARB_OK; },
        [this] { return ArbNodeAttributesDone(root); },
        [this] { return text(e, "t", ARB_ELEM_TEXT, u"x"); },
        [this] { return ArbNodeAttributesDone(e); },
        [this] { return f = open(e, "f", plainKind(3), 0), ARB_OK; },
        [this] { return text(f, "t3", ARB_ELEM_TEXT_3, u""); },
        [this] { return text(f, "b", ARB_ELEM_ENCODED_BYTES, u"ab"); },
        [this] { return ArbNodeProducerDone(f); },
        [this] { return text(e, "t4", ARB_ELEM_TEXT_4, u"y"); },
        [this] { return ArbNodeAllChildrenAttached(e); },
        [this] { return k = open(root, "k", kAttributeKind, 0b0100), ARB_OK; },
        [this] { return ArbNodeProducerDone(k); },
        [this] { return ArbNodeAllChildrenAttached(root); },
    };
    for (std::size_t i = 0; i < steps; ++i) host.then(script[i]);
  }
  static constexpr std::size_t kSteps = 13;

  ArbNode* open(ArbNode* parent, const char* name, std::uint32_t id, std::uint32_t present) {
    ArbNode* const node = host.make(tree, name, id);
    if (id == kAttributeKind) asAttributes(node) = {asAttributes(node).node, present, {1, 2, 3, 0xFF}, 0};
    ok(ArbNodeAppendChild(parent, node));
    return node;
  }
  ArbStatus text(ArbNode* parent, const char* name, std::uint32_t id, const std::u16string& value) {
    host.events.setName(host.appendText(parent, value, id)->number, name);
    return ARB_OK;
  }
  static Lines whole() {
    return {"start root",     "attributes root", "/attributes root",
            "enter root",     "start e",         "attributes e",
            "e 4018001=1 11", "e 37018002=2 22", "e fc018004=ff 44",
            "/attributes e",  "enter e",         "text1 'x'",
            "start f",        "attributes f",    "/attributes f",
            "enter f",        "text3 ''",        "text1 'ab'",
            "end f",          "text4 'y'",       "end e",
            "start k",        "attributes k",    "k 4018003=3 33",
            "/attributes k",  "enter k",         "end k",
            "end root"};
  }
  std::uint32_t walk(Walk& walk, ArbNode* from = nullptr) {
    return ArbDocumentOrderTraverser(from ? from : root, Walk::all(), &walk);
  }

  Host host;
  ArbTree* const tree = host.makeTree();
  ArbNode* const root = rootOf(tree);
  ArbNode* e = nullptr;
  ArbNode* f = nullptr;
  ArbNode* k = nullptr;
};

// Also when callbacks walk, which runs the producer to its end, and make nodes.
TEST(Traverser, WholeSequencesAtEveryChunkSize) {
  for (const std::uint32_t steps : {1u, 2u, 3u, 5u, 0u}) {
    for (const bool callTheLibrary : {false, true}) {
      SCOPED_TRACE(testing::Message() << steps << (callTheLibrary ? ", callbacks call the library" : ""));
      Content content;
      content.host.stepsPerRun = steps;
      Walk first{content.host.events};
      const auto walkAndCopy = [&](ArbNode* node) {
        Walk inner{content.host.events};
        content.walk(inner);
        EXPECT_EQ(Content::whole(), inner.lines);
        ArbNode* copy = nullptr;
        if (node && node != content.root) ok(ArbNodeClone(node, nullptr, &copy));
        if (copy) ok(ArbNodeDestroy(copy));
      };
      if (callTheLibrary) first.during = walkAndCopy;
      EXPECT_EQ(100 + Content::whole().size(), content.walk(first));
      EXPECT_EQ(Content::whole(), first.lines);
      Walk again{content.host.events};
      heap::testing::failAllocation(1, true);
      content.walk(again);
      heap::testing::stopFailing();
      EXPECT_FALSE(heap::testing::failureFired());
      EXPECT_EQ(Content::whole(), again.lines) << "nothing was released";
      Walk below{content.host.events};
      EXPECT_EQ(107u, content.walk(below, content.f));
      EXPECT_EQ((Lines{"start f", "attributes f", "/attributes f", "enter f", "text3 ''", "text1 'ab'", "end f"}),
                below.lines);
    }
  }
}

TEST(Traverser, AZeroStopsTheWalkWhereverItComesFrom) {
  const Lines whole = Content::whole();
  for (std::size_t i = 0; i < whole.size(); ++i) {
    SCOPED_TRACE(whole[i]);
    Content content;
    content.host.stepsPerRun = 1;
    Walk walk{content.host.events, whole[i]};
    const std::uint32_t result = content.walk(walk);
    Lines expected(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(i) + 1);
    if (whole[i].rfind("enter ", 0) != 0) {
      EXPECT_EQ(expected, walk.lines);
      EXPECT_EQ(0u, result);
      continue;
    }
    // Only the children are passed over.
    const auto end = std::find(whole.begin(), whole.end(), "end " + whole[i].substr(6));
    expected.insert(expected.end(), end, whole.end());
    EXPECT_EQ(expected, walk.lines);
    EXPECT_EQ(100 + expected.size(), result);
  }
}

// Callbacks may be null: the walk goes its whole way, and the result is that of the last callback there was, or 1.
TEST(Traverser, CallbacksMayBeNull) {
  Content content;
  ArbTraverserCallbacks callbacks{};
  EXPECT_EQ(1u, ArbDocumentOrderTraverser(content.root, &callbacks, nullptr));
  EXPECT_NE(nullptr, content.k) << "produced to the end";
  callbacks.endAttributes = Walk::all()->endAttributes;
  Walk walk{content.host.events};
  EXPECT_EQ(104u, ArbDocumentOrderTraverser(content.root, &callbacks, &walk)) << "of k's attributes, the last of four";
  EXPECT_EQ(0u, ArbDocumentOrderTraverser(nullptr, Walk::all(), nullptr));
  EXPECT_EQ(0u, ArbDocumentOrderTraverser(content.root, nullptr, nullptr));
}

// Null for what is no text.
decltype(ArbTraverserCallbacks::textNode) textCallbackOf(std::uint32_t id) {
  if (id == ARB_ELEM_TEXT || id == ARB_ELEM_ENCODED_BYTES) return Walk::text<'1'>;
  return id == ARB_ELEM_TEXT_3 ? Walk::text<'3'> : id == ARB_ELEM_TEXT_4 ? Walk::text<'4'> : nullptr;
}

// The walk as a recursion over what there is; `ended`: attributes count as done, since nothing can be waited for.
void plainWalk(Walk& walk, ArbNode* node, bool ended) {
  const std::string name = walk.names.nameOf(node);
  const std::uint32_t id = node->nodeType->elementId;
  if (const auto tell = textCallbackOf(id)) {
    const auto* const text = reinterpret_cast<const ArbTextNode*>(node);
    return void(tell(text->text, text->textLength, &walk));
  }
  walk.add("start " + name, nullptr);
  if (ended || node->flags & ARB_NODE_ATTRIBUTES_DONE) {
    walk.add("attributes " + name, nullptr);
    for (std::uint32_t i = 0; i < node->nodeType->attributeCount; ++i) {
      if (asAttributes(node).present >> i & 1) {
        Walk::attribute(node, id, kAttributes[i].attributeId, asAttributes(node).values[i],
                        kAttributes[i].attributeInfo, &walk);
      }
    }
    walk.add("/attributes " + name, nullptr);
  }
  walk.add("enter " + name, nullptr);
  for (ArbNode* child = resolve(node->firstChildCell); child; child = resolve(child->nextSiblingCell)) {
    plainWalk(walk, child, ended);
  }
  walk.add("end " + name, nullptr);
}

// After any number of steps the producer fails or ends, in a run of its own.
TEST(Traverser, AProducerThatStopsMidway) {
  for (const ArbStatus result : {ARB_STATUS_END, 99u}) {
    for (std::size_t steps = 0; steps <= Content::kSteps; ++steps) {
      SCOPED_TRACE(testing::Message() << steps << " steps, then " << result);
      Content content(steps);
      content.host.stepsPerRun = 1;
      content.host.then([result] { return result; });
      Walk walk{content.host.events};
      const std::uint32_t answer = content.walk(walk);
      Walk expected{content.host.events};
      plainWalk(expected, content.root, result == ARB_STATUS_END);
      EXPECT_EQ(expected.lines, walk.lines);
      EXPECT_EQ(100 + walk.lines.size(), answer);
    }
  }
}

// The host abandons in the middle: the bail-out passes through the walk, and the next walk finds the document whole.
TEST(Traverser, ABailOutInTheMiddle) {
  std::uint32_t bailOuts = 0;
  for (std::size_t at = 1; at < Content::whole().size(); ++at) {
    Content content;
    content.host.stepsPerRun = 1;
    StatusAnswer answer(0);
    Walk walk{content.host.events};
    walk.during = [&](ArbNode*) { answer.set(walk.lines.size() == at ? 20 : 0); };
    if (const auto code = bailOutOf([&] { content.walk(walk); })) {
      ++bailOuts;
      EXPECT_EQ(20u, *code);
      EXPECT_EQ(at, walk.lines.size());
    } else {
      EXPECT_EQ(Content::whole(), walk.lines) << "no run after this callback attached a node";
    }
    answer.set(0);
    Walk again{content.host.events};
    content.walk(again);
    EXPECT_EQ(Content::whole(), again.lines) << at;
  }
  EXPECT_EQ(6u, bailOuts) << "seven runs attach a node; two of them are made by one wait";
}

}  // namespace
}  // namespace arbtree::test
