// ID strings: after their tree or their node is gone, generated from the largest numbers, and waited for while the
// producer works.
// Making, binding, reading and freeing references is part of the random calls (tests/tree/random_test.cpp).
#include <string>
#include <vector>

#include "support/host.h"
#include "tree/tree.h"

namespace arbtree::test {
namespace {

class References : public TreeTest {
 protected:
  ArbNodeRef* floating() {
    ArbNodeRef* cell = nullptr;
    ok(ArbTreeCreateFloatingNodeReference(tree, &cell));
    return cell;
  }
  ArbNodeRef* named(ArbString* name) {
    ArbNodeRef* cell = nullptr;
    ok(ArbTreeCreateNamedNodeReference(tree, name, &cell));
    return cell;
  }
  ArbNode* linked(ArbNodeRef* cell = nullptr) {
    ArbNode* const node = host.make(tree, "n", elementId(1), cell);
    ok(ArbNodeAppendChild(root, node));
    return node;
  }
  // The answer of the Query form: "status text", where text is "-" for null.
  static std::string queried(ArbNodeRef* cell) {
    ArbString* answer = reinterpret_cast<ArbString*>(cell);
    const ArbStatus status = ArbNodeRefQueryIdString(cell, &answer);
    return shown(status, answer);
  }
  std::string waited(ArbNodeRef* cell) {
    ArbString* answer = reinterpret_cast<ArbString*>(cell);
    const ArbStatus status = ArbNodeRefWaitIdString(cell, host.document, &answer);
    return shown(status, answer);
  }
  static std::string shown(ArbStatus status, const ArbString* answer) {
    const std::u16string text = answer ? answer->text : u"-";
    return std::to_string(status) + " " + std::string(text.begin(), text.end());
  }
};

// Strings outlive the trees whose cells they were bound to.
TEST_F(References, AfterTheTreeIsDestroyed) {
  ArbTree* const other = host.makeTree();
  ArbString* const inOther = host.makeString(u"other");
  ArbString* const moved = host.makeString(u"moved");
  ArbString* const freed = host.makeString(u"freed");
  ArbNode* const node = host.append(rootOf(other), "x");
  ArbNode* const loose = host.make(other, "y");
  ok(ArbNodeSetIDString(node, moved));
  ok(ArbNodeSetIDString(node, inOther));
  ok(ArbNodeSetIDString(loose, freed));
  ok(ArbNodeDestroy(loose));
  ArbNode* const here = linked();
  ok(ArbNodeSetIDString(here, moved));
  ArbNode* const generated = host.append(rootOf(other), "z");
  ok(ArbNodeAttributesDone(generated));
  queried(generated->cell);
  ArbString* const made = generated->idString;
  EXPECT_NE(nullptr, inOther->boundRef);
  ok(ArbTreeDestroy(other));
  for (ArbString* const name : {inOther, freed, made}) {
    EXPECT_EQ(nullptr, name->boundRef);
    ArbNodeRef* const cell = named(name);
    EXPECT_EQ(ARB_REF_NAMED, cell->state);
  }
  EXPECT_EQ(here->cell, named(moved)) << "bound to a node of another tree since";
}

// A name goes on leading to the cell of its node, so that cell must not become that of a node made without it.
TEST_F(References, ACellThatWasKeptOnceIsKeptOn) {
  struct Row {
    const char* name;
    std::vector<const char16_t*> names;
    ArbStatus(ARB_CALL* mark)(ArbNode*);
  };
  for (const Row& row :
       {Row{"named", {u"a"}, ArbNodeCreateID}, Row{"named twice", {u"b", u"c"}, ArbNodeCreateID},
        Row{"a name generated", {}, ArbNodeCreateID}, Row{"a stream of its own", {}, ArbNodeSetSeparateStream}}) {
    SCOPED_TRACE(row.name);
    ArbNode* const first = host.make(tree, "first");
    ArbNodeRef* const cell = first->cell;
    for (const char16_t* const name : row.names) EXPECT_EQ(ARB_OK, ArbNodeSetIDString(first, host.makeString(name)));
    EXPECT_EQ(ARB_OK, row.mark(first));
    EXPECT_EQ(ARB_OK, ArbNodeAttributesDone(first));
    queried(cell);
    ArbString* const name = row.names.empty() ? first->idString : host.makeString(row.names.front());
    EXPECT_EQ(ARB_OK, ArbNodeDestroy(first));
    ASSERT_EQ(cell, named(name));
    ArbNode* const second = host.make(tree, "second", elementId(1), cell);
    EXPECT_EQ(nullptr, second->idString);
    EXPECT_EQ(second, resolve(named(name)));
    EXPECT_EQ(ARB_OK, ArbNodeDestroy(second));
    EXPECT_NE(cell, linked()->cell);
    EXPECT_EQ(cell, named(name));
    EXPECT_EQ(nullptr, resolve(cell));
  }
}

TEST_F(References, AGeneratedStringIsTheHexNumber) {
  for (const char* const text : {"0 ID80000000", "0 IDffffffff"}) {
    host.document->nodeCounter = static_cast<std::uint32_t>(std::stoul(text + 4, nullptr, 16)) - 1;
    ArbNode* const node = linked();
    ok(ArbNodeAttributesDone(node));
    EXPECT_EQ(text, queried(node->cell));
    EXPECT_EQ(text, waited(node->cell)) << "kept";
  }
  EXPECT_EQ("0 -", queried(nullptr)) << "no reference, no name";
  EXPECT_EQ("0 -", waited(nullptr));
  ok(ArbNodeRefQueryNode(nullptr, nullptr));
}

// Once the producer is done with a tree it gets no reference, also where one that exists would be the answer.
TEST_F(References, NoneInATreeThatIsDone) {
  ArbString* const name = host.makeString(u"name");
  ArbString* const bound = host.makeString(u"bound");
  ok(ArbNodeSetIDString(linked(), bound));
  ok(ArbForestChildProducerDone(asChild(tree)));
  const std::uint32_t number = host.document->nodeCounter;
  ArbNodeRef untouched{};
  ArbNodeRef* cell = &untouched;
  EXPECT_EQ(ARB_ERR_LOCKED, ArbTreeCreateFloatingNodeReference(tree, &cell));
  EXPECT_EQ(ARB_ERR_LOCKED, ArbTreeCreateNamedNodeReference(tree, name, &cell));
  EXPECT_EQ(ARB_ERR_LOCKED, ArbTreeCreateNamedNodeReference(tree, bound, &cell));
  EXPECT_EQ(&untouched, cell);
  EXPECT_EQ(number, host.document->nodeCounter);
  EXPECT_EQ(0u, tree->pendingRefCount);
}

// As a factory has it before the node joins its tree.
TEST_F(References, ANodeWithoutACellGetsNoName) {
  ArbString* const name = host.makeString(u"name");
  ArbNode bare{};
  bare.tree = tree;
  bare.nodeType = root->nodeType;
  EXPECT_EQ(ARB_ERR_BADARG, ArbNodeSetIDString(&bare, name));
  EXPECT_EQ(nullptr, bare.idString);
  EXPECT_EQ(nullptr, name->boundRef);
  EXPECT_EQ(0, bare.flags);
}

struct WaitingForIdStrings : References {
  WaitingForIdStrings() { host.stepsPerRun = 1; }
};

// The node comes in the second run, its string in the third, its attributes are done in the fourth.
TEST_F(WaitingForIdStrings, RunsUntilTheAttributesAreDone) {
  ArbNodeRef* const cell = floating();
  host.then([&] { return ARB_OK; });
  host.then([&] { return linked(cell), ARB_OK; });
  host.then([&] { return ArbNodeSetIDString(resolve(cell), host.makeString(u"late")); });
  host.then([&] { return ArbNodeAttributesDone(resolve(cell)); });
  EXPECT_EQ("0 late", waited(cell));
  EXPECT_EQ(4u, host.runs.size());
}

TEST_F(WaitingForIdStrings, ProductionEndsFirst) {
  ArbNodeRef* const never = floating();
  ArbNodeRef* const open = floating();
  ArbNodeRef withoutName{ARB_REF_NAMED, 0};
  ArbNodeRef noNode{ARB_REF_NODE, 0};
  host.then([&] { return linked(open), ARB_OK; });
  EXPECT_EQ("0 -", waited(&noNode));
  EXPECT_EQ(0u, host.runs.size());
  EXPECT_EQ("0 -", waited(never));
  EXPECT_EQ(1u, host.runs.size());
  EXPECT_EQ("0 -", waited(&withoutName));
  EXPECT_EQ("0 ID3", waited(open)) << "the wait for its attributes ends with production";
  EXPECT_EQ("145 -", queried(open)) << "they are still open";
}

// The consumer has released the node that it asks about, and the run that is to complete its attributes frees it.
TEST_F(WaitingForIdStrings, TheRunFreesTheNode) {
  ArbNode* const node = linked();
  linked();
  ok(ArbNodeConsumerRelease(node));
  host.then([&] { return ArbNodeProducerRelease(node); });
  EXPECT_EQ("0 -", waited(node->cell));
}

TEST_F(WaitingForIdStrings, TheProducerFails) {
  ArbNodeRef* const early = floating();
  ArbNodeRef* const late = floating();
  host.then([&] { return linked(early), ARB_OK; });
  host.then([&] { return linked(late), 99u; });
  EXPECT_EQ("99 -", waited(late)) << "even though the failing run made the node";
  EXPECT_EQ("0 ID3", waited(late)) << "the failure on the way to the attributes is not reported";
  EXPECT_EQ("0 ID2", waited(early));
}

}  // namespace
}  // namespace arbtree::test
