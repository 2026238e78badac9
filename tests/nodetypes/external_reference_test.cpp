// Making external references and reading their names.
#include <string>
#include <utility>

#include "support/host.h"
#include "tree/tree.h"

namespace arbtree::test {
namespace {

class ExternalReference : public TreeTest {
 protected:
  ExternalReference() { host.end(); }
  ArbNode* append(ArbForestChild* target, const std::u16string& name) {
    ArbNode* node = nullptr;
    EXPECT_EQ(ARB_OK, ArbTreeCreateExternalReferenceNode(tree, target, name.c_str(), &node)) << name.size();
    ok(ArbNodeAppendChild(root, node));
    return node;
  }
  static std::u16string nameOf(ArbNode* node) {
    const char16_t* name = nullptr;
    ok(ArbExternalReferenceNodeGetEntityName(node, &name));
    EXPECT_EQ(reinterpret_cast<ArbExternalReferenceNode*>(node)->entityName, name) << "the name is in the node";
    return name;
  }
};

TEST_F(ExternalReference, CarriesTargetAndName) {
  for (const std::size_t length : {0u, 1u, 5u, 62u, 63u}) {
    const std::u16string name(length, u'n');
    for (ArbForestChild* const target : {asChild(tree), asChild(host.document->rootForest), asChild(nullptr)}) {
      ArbNode* const node = append(target, name);
      EXPECT_EQ(name, nameOf(node));
      EXPECT_EQ(target, reinterpret_cast<ArbExternalReferenceNode*>(node)->target);
      EXPECT_EQ(ARB_ELEM_EXTERNAL_REFERENCE, node->nodeType->elementId);
      EXPECT_EQ(node->cell, tree->externalRefCells[tree->externalRefCount - 1]);
    }
  }
  EXPECT_EQ(256u, tree->externalRefCapacity);
}

TEST_F(ExternalReference, ACallbackGivesTheVariableAnotherNode) {
  ArbNode* variable = nullptr;
  ArbNode* made = nullptr;
  const WhenMade change(host.document, [&](ArbNode* node) {
    made = node;
    EXPECT_EQ(made, std::exchange(variable, root));
  });
  ok(ArbTreeCreateExternalReferenceNode(tree, nullptr, u"name", &variable));
  EXPECT_EQ(root, variable);
  EXPECT_EQ(u"name", nameOf(made));
  ok(ArbNodeDestroy(made));
}

TEST_F(ExternalReference, ComparesAndHashesByTargetAndName) {
  ArbNode* const one = append(asChild(tree), u"a");
  ArbNode* const same = append(asChild(tree), u"a");
  EXPECT_EQ(1u, ArbNodeIsEqual(one, same));
  EXPECT_EQ(ArbNodeHashCode(one), ArbNodeHashCode(same));
  for (ArbNode* const other : {append(asChild(tree), u"b"), append(asChild(tree), u"ab"), append(nullptr, u"a")}) {
    EXPECT_EQ(0u, ArbNodeIsEqual(one, other));
    EXPECT_NE(ArbNodeHashCode(one), ArbNodeHashCode(other));
  }
}

// Whatever is refused, no node is made, none is announced, and the result stays as it was.
TEST_F(ExternalReference, RefusalsMakeNothing) {
  host.record();
  const std::uint32_t number = host.document->nodeCounter;
  ArbNode* node = untouchedNode();
  const std::u16string tooLong(64, u'n');
  EXPECT_EQ(ARB_ERR_BADARG, ArbTreeCreateExternalReferenceNode(tree, nullptr, tooLong.c_str(), &node));
  EXPECT_EQ(ARB_ERR_BADARG, ArbTreeCreateExternalReferenceNode(tree, nullptr, nullptr, &node));
  EXPECT_EQ(ARB_ERR_BADARG, ArbTreeCreateExternalReferenceNode(tree, nullptr, u"a", nullptr));
  EXPECT_EQ(Lines{}, host.events.take());
  ok(ArbForestChildProducerDone(asChild(tree)));
  EXPECT_EQ(ARB_ERR_LOCKED, ArbTreeCreateExternalReferenceNode(tree, nullptr, u"a", &node));
  EXPECT_EQ(untouchedNode(), node);
  EXPECT_EQ(0u, tree->externalRefCount);
  EXPECT_EQ(number, host.document->nodeCounter);
}

TEST_F(ExternalReference, WaitsForTheFirstRunToEnd) {
  Host fresh;
  ArbTree* const other = fresh.makeTree();
  const auto attempt = [&] {
    ArbNode* node = nullptr;
    const ArbStatus status = ArbTreeCreateExternalReferenceNode(other, nullptr, u"a", &node);
    return node ? ArbNodeDestroy(node) : status;
  };
  EXPECT_EQ(ARB_ERR_NOTFOUND, attempt());
  for (const ArbStatus expected : {ARB_ERR_NOTFOUND, ARB_OK}) {
    fresh.then([&attempt, expected] {
      EXPECT_EQ(expected, attempt());
      return kPause;
    });
    ok(ArbDocumentReadAhead(fresh.document));
  }
}

}  // namespace
}  // namespace arbtree::test
