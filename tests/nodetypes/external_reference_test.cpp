// Making external references and reading their names.
#include <string>

#include "support/host.h"
#include "tree/tree.h"

namespace arbtree::test {
namespace {

class ExternalReference : public TreeTest {
 protected:
  ExternalReference() { host.end(); }
  ArbStatus create(const char16_t* name, ArbNode** node) {
    return ArbTreeCreateExternalReferenceNode(tree, asChild(tree), name, node);
  }
};

TEST_F(ExternalReference, CarriesTargetAndName) {
  for (const std::size_t length : {0u, 1u, 5u, 62u, 63u}) {
    const std::u16string name(length, u'n');
    for (ArbForestChild* const target :
         {asChild(tree), asChild(host.document->rootForest), static_cast<ArbForestChild*>(nullptr)}) {
      ArbNode* node = nullptr;
      EXPECT_EQ(ARB_OK, ArbTreeCreateExternalReferenceNode(tree, target, name.c_str(), &node)) << length;
      ASSERT_NE(nullptr, node);
      const auto& record = *reinterpret_cast<ArbExternalReferenceNode*>(node);
      const char16_t* read = nullptr;
      ok(ArbExternalReferenceNodeGetEntityName(node, &read));
      EXPECT_EQ(name, read);
      EXPECT_EQ(record.entityName, read) << "the name is in the node";
      EXPECT_EQ(target, record.target);
      EXPECT_EQ(ARB_ELEM_EXTERNAL_REFERENCE, node->nodeType->elementId);
      EXPECT_EQ(node->cell, tree->externalRefCells[tree->externalRefCount - 1]);
      ok(ArbExternalReferenceNodeGetEntityName(node, nullptr));
      ok(ArbNodeAppendChild(root, node));
    }
  }
  EXPECT_EQ(256u, tree->externalRefCapacity);
}

TEST_F(ExternalReference, ACallbackGivesTheVariableAnotherNode) {
  struct Change {
    ArbNode* variable = nullptr;
    ArbNode* other = nullptr;
    ArbNode* made = nullptr;
    static std::uint32_t ARB_CALL byCallback(ArbDocument*, std::uint32_t event, void* made, void* context) {
      auto& change = *static_cast<Change*>(context);
      if (event != ARB_EVENT_NODE_CREATED) return 0;
      change.made = static_cast<ArbNode*>(made);
      EXPECT_EQ(made, change.variable);
      change.variable = change.other;
      return 0;
    }
  } change;
  change.other = host.append(root, "other", ARB_ELEM_TEXT);
  ok(ArbDocumentRegisterCallback(host.document, Change::byCallback, &change));
  EXPECT_EQ(ARB_OK, create(u"name", &change.variable));
  const char16_t* name = nullptr;
  ok(ArbExternalReferenceNodeGetEntityName(change.made, &name));
  EXPECT_EQ(std::u16string(u"name"), name);
  EXPECT_EQ(change.other, change.variable);
  ok(ArbDocumentUnregisterCallback(host.document, Change::byCallback));
  ok(ArbNodeDestroy(change.made));
}

TEST_F(ExternalReference, ComparesAndHashesByTargetAndName) {
  const auto make = [&](ArbForestChild* target, const char16_t* name) {
    ArbNode* node = nullptr;
    ok(ArbTreeCreateExternalReferenceNode(tree, target, name, &node));
    ok(ArbNodeAppendChild(root, node));
    return node;
  };
  ArbNode* const one = make(asChild(tree), u"a");
  ArbNode* const same = make(asChild(tree), u"a");
  EXPECT_EQ(1u, ArbNodeIsEqual(one, same));
  EXPECT_EQ(ArbNodeHashCode(one), ArbNodeHashCode(same));
  for (ArbNode* const other : {make(asChild(tree), u"b"), make(asChild(tree), u"ab"), make(nullptr, u"a")}) {
    EXPECT_EQ(0u, ArbNodeIsEqual(one, other));
    EXPECT_NE(ArbNodeHashCode(one), ArbNodeHashCode(other));
  }
}

// Whatever is refused, no node is made, none is announced, and the result stays as it was.
TEST_F(ExternalReference, RefusalsMakeNothing) {
  const std::u16string tooLong(64, u'n');
  const std::uint32_t number = host.document->nodeCounter;
  host.record();
  for (const char16_t* const name : {tooLong.c_str(), static_cast<const char16_t*>(nullptr)}) {
    ArbNode* node = untouchedNode();
    EXPECT_EQ(ARB_ERR_BADARG, create(name, &node));
    EXPECT_EQ(untouchedNode(), node);
  }
  EXPECT_EQ(ARB_ERR_BADARG, create(u"a", nullptr));
  ArbNode* node = untouchedNode();
  EXPECT_EQ(ARB_ERR_BADARG, ArbTreeCreateExternalReferenceNode(nullptr, nullptr, u"a", &node));
  EXPECT_EQ(Lines{}, host.events.take());
  EXPECT_EQ(0u, tree->externalRefCount);
  ok(ArbForestChildProducerDone(asChild(tree)));
  EXPECT_EQ(ARB_ERR_LOCKED, create(u"a", &node));
  EXPECT_EQ(untouchedNode(), node);
  EXPECT_EQ(number, host.document->nodeCounter);
}

TEST_F(ExternalReference, WaitsForTheFirstRunToEnd) {
  Host fresh;
  ArbTree* const other = fresh.makeTree();
  const auto attempt = [&] {
    ArbNode* node = nullptr;
    const ArbStatus status = ArbTreeCreateExternalReferenceNode(other, nullptr, u"a", &node);
    EXPECT_EQ(status == ARB_OK, node != nullptr);
    return node ? ArbNodeAppendChild(rootOf(other), node) : status;
  };
  EXPECT_EQ(ARB_ERR_NOTFOUND, attempt());
  for (const ArbStatus expected : {ARB_ERR_NOTFOUND, ARB_OK}) {
    fresh.then([&attempt, expected] {
      EXPECT_EQ(expected, attempt());
      return kPause;
    });
  }
  ok(ArbDocumentReadAhead(fresh.document));
  ok(ArbDocumentReadAhead(fresh.document));
  EXPECT_EQ(1u, rootOf(other)->childCount);
}

}  // namespace
}  // namespace arbtree::test
