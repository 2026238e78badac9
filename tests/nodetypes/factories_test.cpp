// Registration of namespaces with a tree: refusals, the full table, overwriting, the default namespace.
#include "support/host.h"
#include "support/standins.h"
#include "tree/tree.h"

namespace arbtree::test {
namespace {

class Factories : public testing::Test {
 protected:
  Factories() { ok(ArbDocumentCreateTree(host.document, nullptr, &tree)); }
  ~Factories() override { ok(ArbTreeDestroy(tree)); }
  Factories(const Factories&) = delete;
  Factories& operator=(const Factories&) = delete;

  // Whether both lookups find the namespace.
  bool finds(std::uint32_t number) {
    const auto ns = static_cast<std::uint16_t>(number);
    ArbNodeDestroyer destroyer = destroyElement;
    ArbNodeFactory factory = makeElement;
    const ArbStatus status = ArbTreeGetNodeDestroyer(tree, ns, &destroyer);
    EXPECT_TRUE(status == ARB_OK || status == ARB_ERR_NOTFOUND) << status;
    EXPECT_EQ(status, ArbTreeGetNodeDestroyer(tree, ns, nullptr));
    EXPECT_EQ(status, ArbTreeGetNodeFactory(tree, ns, &factory));
    EXPECT_EQ(status, ArbTreeGetNodeFactory(tree, ns, nullptr));
    EXPECT_EQ(status == ARB_OK, factory != nullptr);
    EXPECT_EQ(status == ARB_OK, destroyer != nullptr);
    EXPECT_EQ(status == ARB_OK && ns != ARB_NAMESPACE_BUILTIN, destroyer == destroyElement);
    if (destroyer == destroyElement) {
      EXPECT_EQ(ns, tree->lastFactory.elementNamespace) << "found without a search next time";
    }
    return status == ARB_OK;
  }
  bool makes(std::uint32_t ns) {
    ArbNode* node = nullptr;
    const ArbStatus status = ArbTreeCreateNode(tree, elementId(1, ns), nullptr, &node);
    EXPECT_EQ(status, node ? ArbNodeDestroy(node) : ARB_ERR_NOTFOUND);
    EXPECT_EQ(status == ARB_OK, finds(ns));
    return status == ARB_OK;
  }

  Host host;
  ArbTree* tree = nullptr;
};

TEST_F(Factories, Registration) {
  struct Row {
    const char* name;
    std::uint32_t ns;
    ArbStatus status;
    std::uint32_t count;
  };
  for (const Row& row :
       {Row{"built in", 2, ARB_ERR_NAMESPACE, 0}, Row{"low half built in", 0x10002, ARB_ERR_NAMESPACE, 0},
        Row{"unknown", 99, ELEMDEFS_ERR_UNKNOWN_NAMESPACE, 0}, Row{"known", kTestNamespace, ARB_OK, 1},
        Row{"again", kTestNamespace, ARB_OK, 1}, Row{"low half known", 0x10000 + kTestNamespace, ARB_OK, 1},
        Row{"another", kManyNamespaces, ARB_OK, 2}}) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(row.status, ArbTreeAddNodeFactory(tree, row.ns));
    EXPECT_EQ(row.count, tree->factoryCount);
  }
  EXPECT_TRUE(makes(kTestNamespace));
  EXPECT_TRUE(makes(kManyNamespaces));
  EXPECT_FALSE(makes(kManyNamespaces + 1));
  for (const std::uint32_t ns : {0u, 1u, 2u, kTestNamespace, kTestNamespace, 6u, kTestNamespace, 2u, 0xFFFFu}) {
    EXPECT_EQ(ns == 2 || ns == kTestNamespace, finds(ns)) << ns;
  }
}

TEST_F(Factories, TheFullTableTakesNoOtherNamespaceAndSaysNothing) {
  for (std::uint32_t i = 0; i < 32; ++i) {
    ok(ArbTreeAddNodeFactory(tree, kManyNamespaces + i));
    EXPECT_TRUE(makes(kManyNamespaces + i));
  }
  EXPECT_EQ(32u, tree->factoryCount);
  ok(ArbTreeAddNodeFactory(tree, kManyNamespaces + 32));
  EXPECT_EQ(32u, tree->factoryCount);
  EXPECT_FALSE(makes(kManyNamespaces + 32));
  EXPECT_EQ(ARB_OK, ArbTreeAddNodeFactory(tree, kManyNamespaces + 31)) << "an entry of its own is taken again";
  EXPECT_EQ(32u, tree->factoryCount);
  for (std::uint32_t i = 0; i < 32; ++i) EXPECT_TRUE(makes(kManyNamespaces + i));
}

TEST_F(Factories, TheDefaultNamespaceIsChosenOnce) {
  EXPECT_EQ(1u, tree->defaultNamespace);
  EXPECT_EQ(ARB_ERR_NAMESPACE, ArbTreeSetDefaultNamespace(tree, 2));
  EXPECT_EQ(ELEMDEFS_ERR_UNKNOWN_NAMESPACE, ArbTreeSetDefaultNamespace(tree, 99));
  EXPECT_EQ(1u, tree->defaultNamespace);
  ok(ArbTreeSetDefaultNamespace(tree, kTestNamespace));
  EXPECT_EQ(kTestNamespace, tree->defaultNamespace);
  EXPECT_TRUE(makes(kTestNamespace));
  EXPECT_EQ(ARB_ERR_LOCKED, ArbTreeSetDefaultNamespace(tree, kManyNamespaces));
  EXPECT_EQ(ARB_ERR_LOCKED, ArbTreeSetDefaultNamespace(tree, 2));
  EXPECT_EQ(kTestNamespace, tree->defaultNamespace);
}

TEST_F(Factories, OfAFinishedTreeAreLocked) {
  ArbTree* const done = host.makeTree();
  ok(ArbForestChildProducerDone(asChild(done)));
  for (const std::uint32_t ns : {kManyNamespaces, 2u, 99u}) {
    EXPECT_EQ(ARB_ERR_LOCKED, ArbTreeAddNodeFactory(done, ns));
    EXPECT_EQ(ARB_ERR_LOCKED, ArbTreeSetDefaultNamespace(done, ns));
  }
  EXPECT_EQ(1u, done->factoryCount);
  EXPECT_EQ(1u, done->defaultNamespace);
}

}  // namespace
}  // namespace arbtree::test
