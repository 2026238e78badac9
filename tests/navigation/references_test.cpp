// References made ahead of their node, ID strings, and the table of pending references.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "platform/heap.h"
#include "support/host.h"
#include "support/seed.h"
#include "tree/tree.h"

namespace arbtree::test {
namespace {

class References : public testing::Test {
 protected:
  ArbString* string(const char16_t* text) {
    ArbString* made = nullptr;
    EXPECT_EQ(ARB_OK, ArbDocumentCreateString(host.document, text, &made));
    return made;
  }
  ArbNodeRef* floating() {
    ArbNodeRef* cell = nullptr;
    EXPECT_EQ(ARB_OK, ArbTreeCreateFloatingNodeReference(tree, &cell));
    return cell;
  }
  ArbNodeRef* named(ArbString* name) {
    ArbNodeRef* cell = nullptr;
    EXPECT_EQ(ARB_OK, ArbTreeCreateNamedNodeReference(tree, name, &cell));
    return cell;
  }
  ArbNode* make(ArbNodeRef* cell = nullptr) { return host.make(tree, "n", elementId(1), cell); }
  ArbNode* linked(ArbNodeRef* cell = nullptr) {
    ArbNode* const node = make(cell);
    EXPECT_EQ(ARB_OK, ArbNodeAppendChild(rootOf(tree), node));
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
  static std::string queriedNode(ArbNodeRef* cell, const ArbNode* expected) {
    ArbNode* node = untouchedNode();
    const ArbStatus status = ArbNodeRefQueryNode(cell, &node);
    EXPECT_EQ(expected, node);
    EXPECT_EQ(status, ArbNodeRefQueryNode(cell, nullptr));
    return std::to_string(status);
  }

  Host host;
  ArbTree* const tree = host.makeTree();
};

// Every state of a cell, read by the Query calls.
TEST_F(References, WhatEachStateAnswers) {
  ArbNode* const node = linked();
  const auto value = reinterpret_cast<std::uintptr_t>(node);
  const auto name = reinterpret_cast<std::uintptr_t>(string(u"name"));
  struct Row {
    ArbNodeRef cell;
    bool done;
    const char *idString, *status;
    bool resolved;
  };
  for (Row row :
       {Row{{ARB_REF_FLOATING, 7}, false, "145 -", "145", false},
        Row{{ARB_REF_NAMED, name}, false, "0 name", "145", false},
        Row{{ARB_REF_NAMED, 0}, false, "145 -", "145", false}, Row{{ARB_REF_FREED, 7}, false, "145 -", "145", false},
        Row{{ARB_REF_FREED_ID, name}, false, "145 -", "145", false}, Row{{ARB_REF_NODE, 0}, false, "145 -", "0", false},
        Row{{ARB_REF_NODE, value}, false, "145 -", "0", true}, Row{{ARB_REF_NODE, value}, true, "0 ID2", "0", true}}) {
    if (row.done) {
      EXPECT_EQ(ARB_OK, ArbNodeAttributesDone(node));
    }
    EXPECT_EQ(row.idString, queried(&row.cell)) << row.cell.state;
    EXPECT_EQ(row.status, queriedNode(&row.cell, row.resolved ? node : nullptr)) << row.cell.state;
  }
  EXPECT_EQ("0 -", queried(nullptr));
  EXPECT_EQ("0 -", waited(nullptr));
  EXPECT_EQ("0", queriedNode(nullptr, nullptr));
  EXPECT_EQ(ARB_OK, ArbNodeRefQueryIdString(nullptr, nullptr));
  EXPECT_EQ(ARB_OK, ArbNodeRefQueryIdString(node->cell, nullptr));
  EXPECT_EQ(ARB_OK, ArbNodeRefWaitIdString(node->cell, host.document, nullptr));
  EXPECT_EQ(ARB_ERR_BADARG, ArbNodeRefWaitIdString(node->cell, nullptr, nullptr));
}

TEST_F(References, AGeneratedStringIsTheHexNumberAndIsKeptAndBound) {
  struct Row {
    std::uint32_t number;
    const char* text;
  };
  for (const Row& row : {Row{10, "0 IDa"}, Row{26, "0 ID1a"}, Row{255, "0 IDff"}, Row{0x80000000, "0 ID80000000"},
                         Row{0xFFFFFFFF, "0 IDffffffff"}}) {
    host.document->nodeCounter = row.number - 1;
    ArbNode* const node = linked();
    EXPECT_EQ(row.number, node->number);
    EXPECT_EQ(ARB_OK, ArbNodeAttributesDone(node));
    EXPECT_EQ(nullptr, node->idString);
    EXPECT_EQ(row.text, row.number % 2 ? waited(node->cell) : queried(node->cell));
    ArbString* const kept = node->idString;
    ASSERT_NE(nullptr, kept);
    EXPECT_EQ(row.text, queried(node->cell));
    EXPECT_EQ(kept, node->idString);
    EXPECT_EQ(kept, string(kept->text));
    EXPECT_EQ(node->cell, kept->boundRef);
    EXPECT_EQ(node->cell, named(kept)) << "a named reference finds the node";
    EXPECT_FALSE(node->flags & ARB_NODE_HAS_ID);
    EXPECT_EQ(row.number, node->number);
  }
  EXPECT_EQ(0u, tree->pendingRefCount);
}

// Strings outlive the trees whose cells they were bound to.
TEST_F(References, AfterTheTreeIsDestroyed) {
  ArbTree* const other = host.makeTree();
  ArbString* const inOther = string(u"other");
  ArbString* const moved = string(u"moved");
  ArbString* const freed = string(u"freed");
  ArbNode* const node = host.append(rootOf(other), "x");
  ArbNode* const loose = host.make(other, "y");
  EXPECT_EQ(ARB_OK, ArbNodeSetIDString(node, moved));
  EXPECT_EQ(ARB_OK, ArbNodeSetIDString(node, inOther));
  EXPECT_EQ(ARB_OK, ArbNodeSetIDString(loose, freed));
  EXPECT_EQ(ARB_OK, ArbNodeDestroy(loose));
  ArbNode* const here = linked();
  EXPECT_EQ(ARB_OK, ArbNodeSetIDString(here, moved));
  ArbNode* const generated = host.append(rootOf(other), "z");
  EXPECT_EQ(ARB_OK, ArbNodeAttributesDone(generated));
  queried(generated->cell);
  ArbString* const made = generated->idString;
  EXPECT_NE(nullptr, inOther->boundRef);
  EXPECT_EQ(ARB_OK, ArbTreeDestroy(other));
  for (ArbString* const name : {inOther, freed, made}) {
    EXPECT_EQ(nullptr, name->boundRef);
    ArbNodeRef* const cell = named(name);
    EXPECT_EQ(ARB_REF_NAMED, cell->state);
  }
  EXPECT_EQ(here->cell, named(moved)) << "bound to a node of another tree since";
}

class WaitingForIdStrings : public References {
 protected:
  WaitingForIdStrings() { host.stepsPerRun = 1; }
};

// The node comes in the second run, its string in the third, its attributes are done in the fourth.
TEST_F(WaitingForIdStrings, RunsUntilTheAttributesAreDone) {
  ArbNodeRef* const cell = floating();
  host.then([&] { return ARB_OK; });
  host.then([&] { return linked(cell), ARB_OK; });
  host.then([&] { return ArbNodeSetIDString(resolve(cell), string(u"late")); });
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

TEST_F(WaitingForIdStrings, TheProducerFails) {
  ArbNodeRef* const early = floating();
  ArbNodeRef* const late = floating();
  host.then([&] { return linked(early), ARB_OK; });
  host.then([&] { return linked(late), 99u; });
  EXPECT_EQ("99 -", waited(late)) << "even though the failing run made the node";
  EXPECT_EQ("0 ID3", waited(late)) << "the failure on the way to the attributes is not reported";
  EXPECT_EQ("0 ID2", waited(early));
}

// Slots of the pending table as a plain search for the lowest empty entry.
class PlainTable {
 public:
  void add(ArbNodeRef* cell) {
    const auto empty = std::find(entries_.begin(), entries_.end(), nullptr);
    if (empty != entries_.end()) {
      *empty = cell;
      return;
    }
    if (entries_.size() == capacity_) capacity_ = capacity_ ? 2 * capacity_ : 256;
    entries_.push_back(cell);
  }
  void remove(ArbNodeRef* cell) { *std::find(entries_.begin(), entries_.end(), cell) = nullptr; }
  void expectSame(const ArbTree& tree) const {
    ASSERT_EQ(entries_.size(), tree.pendingRefCount);
    ASSERT_EQ(capacity_, tree.pendingRefCapacity);
    ASSERT_EQ(entries_, std::vector<ArbNodeRef*>(tree.pendingRefs, tree.pendingRefs + tree.pendingRefCount));
  }

 private:
  std::vector<ArbNodeRef*> entries_;
  std::size_t capacity_ = 0;
};

}  // namespace
}  // namespace arbtree::test
