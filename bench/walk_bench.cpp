// Walking a whole tree in document order, from node to node: ArbNodeWaitFirstChild, ArbNodeWaitNextSibling and
// ArbNodeWaitParent, beside the same walk along the pointers of other tree libraries and through their functions. Every
// node but the last inner one has 8 children, and the nodes were made in document order, as by a parser. The base is
// arbtree's own walk, so a ratio above 1 says that the other library is slower.
#include <algorithm>
#include <cstdlib>
#include <vector>

#include "arbtree/arbtree.h"
#include "support/comparison.h"
#include "support/memory.h"

#ifdef ARBTREE_HAVE_LIBXML2
#include <libxml/tree.h>
#endif
#ifdef ARBTREE_HAVE_PUGIXML
#include <pugixml.hpp>
#endif

namespace arbtree::bench {
namespace {

constexpr std::int64_t kFanOut = 8;
constexpr std::int64_t kStepsPerSample = 1'000'000;

// Makes `count` nodes below and with `top`: numbered level by level, node i is the parent of 8 i + 1 to 8 i + 8.
template <typename Library>
void grow(Library& library, typename Library::Node top, std::int64_t count) {
  struct Open {
    typename Library::Node node;
    std::int64_t nextChild;
    std::int64_t lastChild;
  };
  const auto opened = [](typename Library::Node node, std::int64_t i) {
    return Open{node, kFanOut * i + 1, kFanOut * i + kFanOut};
  };
  std::vector<Open> path = {opened(top, 0)};
  while (!path.empty()) {
    Open& parent = path.back();
    if (parent.nextChild > parent.lastChild || parent.nextChild >= count) {
      library.close(parent.node);
      path.pop_back();
    } else {
      const std::int64_t i = parent.nextChild++;
      path.push_back(opened(library.append(parent.node), i));
    }
  }
}

// The nodes visited between `top` and its end. `Walk` answers a null node where there is none.
template <typename Walk, typename Node>
std::int64_t visit(const Walk& walk, Node top) {
  std::int64_t visited = 1;
  for (Node node = top;;) {
    Node next = walk.firstChild(node);
    while (!next) {
      if (node == top) return visited;
      next = walk.nextSibling(node);
      if (!next) node = walk.parent(node);
    }
    node = next;
    ++visited;
  }
}

class Arbtree {
 public:
  using Node = ArbNode*;

  explicit Arbtree(std::int64_t count) {
    if (ArbDocumentCreate(0, nullptr, nullptr, 0, 0, &document_) != ARB_OK) std::abort();
    if (ArbDocumentCreateTree(document_, nullptr, &tree_) != ARB_OK) std::abort();
    ArbForestAppendChild(ArbDocumentRootForest(document_), reinterpret_cast<ArbForestChild*>(tree_));
    ArbTreeQueryRootNode(tree_, &root_);
    grow(*this, root_, count);
  }
  ~Arbtree() { ArbDocumentDestroy(document_); }
  Arbtree(const Arbtree&) = delete;
  Arbtree& operator=(const Arbtree&) = delete;

  Node append(Node parent) {
    Node node = nullptr;
    if (ArbTreeCreateNode(tree_, ARB_ELEM_TEXT, nullptr, &node) != ARB_OK) std::abort();
    ArbNodeAppendChild(parent, node);
    return node;
  }
  static void close(Node node) { ArbNodeProducerDone(node); }

  static Node firstChild(Node node) { return step(ArbNodeWaitFirstChild, node); }
  static Node nextSibling(Node node) { return step(ArbNodeWaitNextSibling, node); }
  static Node parent(Node node) { return step(ArbNodeWaitParent, node); }

  std::int64_t walk() const { return visit(*this, root_); }

 private:
  template <typename Call>
  static Node step(Call call, Node node) {
    Node result = nullptr;
    return call(node, &result) == ARB_OK ? result : nullptr;
  }

  ArbDocument* document_ = nullptr;
  ArbTree* tree_ = nullptr;
  ArbNode* root_ = nullptr;
};

#ifdef ARBTREE_HAVE_LIBXML2
// The name is interned in the document, as it is in a parsed one. LibXml2 follows the fields of its nodes;
// LibXml2Calls asks the library, which answers for elements.
struct Fields {
  static xmlNode* firstChild(xmlNode* node) { return node->children; }
  static xmlNode* nextSibling(xmlNode* node) { return node->next; }
};

struct Calls {
  static xmlNode* firstChild(xmlNode* node) { return xmlFirstElementChild(node); }
  static xmlNode* nextSibling(xmlNode* node) { return xmlNextElementSibling(node); }
};

template <typename Steps>
class LibXml2Tree : public Steps {
 public:
  using Node = xmlNode*;

  explicit LibXml2Tree(std::int64_t count) : document_(xmlNewDoc(nullptr)) {
    static constexpr xmlChar kName[] = {'n', 0};
    document_->dict = xmlDictCreate();
    name_ = xmlDictLookup(document_->dict, kName, 1);
    root_ = make();
    xmlDocSetRootElement(document_, root_);
    grow(*this, root_, count);
  }
  ~LibXml2Tree() { xmlFreeDoc(document_); }
  LibXml2Tree(const LibXml2Tree&) = delete;
  LibXml2Tree& operator=(const LibXml2Tree&) = delete;

  Node append(Node parent) { return xmlAddChild(parent, make()); }
  static void close(Node) {}

  static Node parent(Node node) { return node->parent; }

  std::int64_t walk() const { return visit(*this, root_); }

 private:
  Node make() { return xmlNewDocNodeEatName(document_, nullptr, const_cast<xmlChar*>(name_), nullptr); }

  xmlDoc* document_;
  const xmlChar* name_ = nullptr;
  xmlNode* root_ = nullptr;
};
using LibXml2 = LibXml2Tree<Fields>;
using LibXml2Calls = LibXml2Tree<Calls>;
#endif

#ifdef ARBTREE_HAVE_PUGIXML
class Pugixml {
 public:
  using Node = pugi::xml_node;

  explicit Pugixml(std::int64_t count) : root_(document_.append_child(pugi::node_element)) {
    grow(*this, root_, count);
  }

  static Node append(Node parent) { return parent.append_child(pugi::node_element); }
  static void close(Node) {}

  static Node firstChild(Node node) { return node.first_child(); }
  static Node nextSibling(Node node) { return node.next_sibling(); }
  static Node parent(Node node) { return node.parent(); }

  std::int64_t walk() const { return visit(*this, root_); }

 private:
  pugi::xml_document document_;
  pugi::xml_node root_;
};
#endif

template <typename Library>
void BM_Walk(benchmark::State& state) {
  const std::int64_t count = state.range(0);
  const std::int64_t rounds = std::max<std::int64_t>(1, kStepsPerSample / count);
  const Memory memory;
  const Library subject(count);
  memory.report(state);
  const Arbtree own(count);

  bool right = subject.walk() == count && own.walk() == count;
  const auto walkAll = [&](const auto& library) {
    for (std::int64_t i = 0; i < rounds; ++i) right &= library.walk() == count;
  };
  Comparison comparison;
  for (auto _ : state) {
    comparison.sample(
        state, static_cast<double>(count * rounds), [&] { walkAll(own); }, [&] { walkAll(subject); });
  }
  if (verify(state, right, "wrong number of nodes visited")) comparison.report(state);
}

void sizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->ArgName("nodes")->Arg(1'000)->Arg(10'000)->Arg(1'000'000);
  benchmark->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(40);
}

BENCHMARK_TEMPLATE(BM_Walk, Arbtree)->Apply(sizes);  // the noise: its own base
#ifdef ARBTREE_HAVE_LIBXML2
BENCHMARK_TEMPLATE(BM_Walk, LibXml2)->Apply(sizes);
BENCHMARK_TEMPLATE(BM_Walk, LibXml2Calls)->Apply(sizes);
#endif
#ifdef ARBTREE_HAVE_PUGIXML
BENCHMARK_TEMPLATE(BM_Walk, Pugixml)->Apply(sizes);
#endif

}  // namespace
}  // namespace arbtree::bench

BENCHMARK_MAIN();
