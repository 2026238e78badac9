// References and ID strings after their tree or their node is gone, of a tree that is done, and without a cell.
// Making, binding, reading, waiting for and freeing references is part of the random calls
// (tests/tree/random_test.cpp).
#include <string>
#include <vector>

#include "support/host.h"
#include "tree/tree.h"

namespace arbtree::test {
namespace {

class References : public TreeTest {
 protected:
  ArbNodeRef* named(ArbString* name) {
    ArbNodeRef* cell = nullptr;
    ok(ArbTreeCreateNamedNodeReference(tree, name, &cell));
    return cell;
  }
  ArbNode* linked() { return host.append(root, "n"); }
  static ArbString* nameOf(ArbNodeRef* cell) {
    ArbString* name = nullptr;
    ok(ArbNodeRefQueryIdString(cell, &name));
    return name;
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
  ArbString* const made = nameOf(generated->cell);
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
    std::vector<const char16_t*> names;
    ArbStatus(ARB_CALL* mark)(ArbNode*);
  };
  int number = 0;
  for (const Row& row : {Row{{u"a"}, ArbNodeCreateID}, Row{{u"b", u"c"}, ArbNodeCreateID}, Row{{}, ArbNodeCreateID},
                         Row{{}, ArbNodeSetSeparateStream}}) {
    SCOPED_TRACE(number++);
    ArbNode* const first = host.make(tree, "first");
    ArbNodeRef* const cell = first->cell;
    for (const char16_t* const name : row.names) ok(ArbNodeSetIDString(first, host.makeString(name)));
    ok(row.mark(first));
    ok(ArbNodeAttributesDone(first));
    ArbString* const generated = nameOf(cell);
    ArbString* const name = row.names.empty() ? generated : host.makeString(row.names.front());
    ok(ArbNodeDestroy(first));
    ASSERT_EQ(cell, named(name));
    ArbNode* const second = host.make(tree, "second", elementId(1), cell);
    EXPECT_EQ(nullptr, second->idString);
    EXPECT_EQ(second, resolve(named(name)));
    ok(ArbNodeDestroy(second));
    EXPECT_NE(cell, linked()->cell);
    EXPECT_EQ(cell, named(name));
    EXPECT_EQ(nullptr, resolve(cell));
  }
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

}  // namespace
}  // namespace arbtree::test
