// One node's life: made, appended to the root, completed, released by the producer, released by the consumer, freed;
// beside the same life in other tree libraries, and all of them as ratios to malloc, memset and free of one record.
//
// Nodes go in the order they came, as in a document that streams: `alive` nodes exist before and after each batch, in
// which `batch` nodes come and then as many of the oldest go. Everybody finds his nodes in a ring of pointers.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>

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

constexpr std::int64_t kChunk = 4096;
constexpr std::int64_t kMany = 10'000'000;
constexpr std::int64_t kNodesPerSample = 65536;

// The floor: what any library pays that takes each record from the heap. Called, memset is that of the C library, made
// for the machine; Inlined, it is what the compiler puts in its place.
enum class Zeroing { Called, Inlined };

template <Zeroing zeroing>
class Heap {
 public:
  using Node = void*;

  Node make() {
    void* block = std::malloc(sizeof(ArbTextNode));
    benchmark::DoNotOptimize(block);  // or the compiler makes the two calls one
    if (!block) std::abort();
    if constexpr (zeroing == Zeroing::Called) {
      memsetOfTheLibrary(block, 0, sizeof(ArbTextNode));
    } else {
      std::memset(block, 0, sizeof(ArbTextNode));
    }
    benchmark::DoNotOptimize(block);
    ++count_;
    return block;
  }
  void release(Node node) {
    std::free(node);
    --count_;
  }
  std::int64_t alive() const { return count_; }

 private:
  static inline void* (*volatile memsetOfTheLibrary)(void*, int, std::size_t) = std::memset;
  std::int64_t count_ = 0;
};
using Floor = Heap<Zeroing::Called>;
using FloorInlined = Heap<Zeroing::Inlined>;

// Text nodes without a value, the smallest that can be appended.
class Arbtree {
 public:
  using Node = ArbNode*;

  Arbtree() {
    if (ArbDocumentCreate(0, nullptr, nullptr, 0, 0, &document_) != ARB_OK) std::abort();
    if (ArbDocumentCreateTree(document_, nullptr, &tree_) != ARB_OK) std::abort();
    ArbForestAppendChild(ArbDocumentRootForest(document_), reinterpret_cast<ArbForestChild*>(tree_));
    ArbTreeQueryRootNode(tree_, &root_);
  }
  ~Arbtree() { ArbDocumentDestroy(document_); }
  Arbtree(const Arbtree&) = delete;
  Arbtree& operator=(const Arbtree&) = delete;

  Node make() {
    ArbNode* node = nullptr;
    failures_ |= ArbTreeCreateNode(tree_, ARB_ELEM_TEXT, nullptr, &node);
    failures_ |= ArbNodeAppendChild(root_, node);
    failures_ |= ArbNodeProducerDone(node);
    failures_ |= ArbNodeProducerRelease(node);
    return node;
  }
  void release(Node node) { failures_ |= ArbNodeConsumerRelease(node); }

  std::int64_t alive() const {
    return failures_ == ARB_OK ? std::int64_t{root_->childCount} - root_->freedChildCount : -1;
  }

 private:
  ArbDocument* document_ = nullptr;
  ArbTree* tree_ = nullptr;
  ArbNode* root_ = nullptr;
  ArbStatus failures_ = ARB_OK;
};

#ifdef ARBTREE_HAVE_LIBXML2
// xmlNewNode copies the name to a heap block of its own.
class LibXml2 {
 public:
  using Node = xmlNode*;

  LibXml2() : document_(xmlNewDoc(nullptr)), root_(xmlNewDocNode(document_, nullptr, kName, nullptr)) {
    xmlDocSetRootElement(document_, root_);
  }
  ~LibXml2() { xmlFreeDoc(document_); }
  LibXml2(const LibXml2&) = delete;
  LibXml2& operator=(const LibXml2&) = delete;

  Node make() { return xmlAddChild(root_, xmlNewNode(nullptr, kName)); }
  void release(Node node) {
    xmlUnlinkNode(node);
    xmlFreeNode(node);
  }
  std::int64_t alive() const { return static_cast<std::int64_t>(xmlChildElementCount(root_)); }

 protected:
  static constexpr xmlChar kName[] = {'n', 0};
  xmlDoc* document_;
  xmlNode* root_;
};

// The name is interned in the document, as it is in a parsed one.
class LibXml2Interned : public LibXml2 {
 public:
  LibXml2Interned() {
    document_->dict = xmlDictCreate();
    name_ = xmlDictLookup(document_->dict, kName, 1);
  }
  Node make() {
    return xmlAddChild(root_, xmlNewDocNodeEatName(document_, nullptr, const_cast<xmlChar*>(name_), nullptr));
  }

 private:
  const xmlChar* name_;
};
#endif

#ifdef ARBTREE_HAVE_PUGIXML
class Pugixml {
 public:
  using Node = pugi::xml_node_struct*;

  Node make() { return root_.append_child(pugi::node_element).internal_object(); }
  void release(Node node) { failed_ |= !root_.remove_child(pugi::xml_node(node)); }
  std::int64_t alive() const {
    const auto children = root_.children();
    return failed_ ? -1 : std::distance(children.begin(), children.end());
  }

 private:
  pugi::xml_document document_;
  pugi::xml_node root_ = document_.append_child("n");
  bool failed_ = false;
};
#endif

template <typename Library>
class Stream {
 public:
  Stream(std::int64_t alive, std::int64_t batch)
      : alive_(alive), capacity_(static_cast<std::size_t>(alive + batch)), ring_(new Node[capacity_]) {
    come(alive);
  }
  ~Stream() { go(inRing_); }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;

  void pass(std::int64_t batch) {
    come(batch);
    go(batch);
  }
  bool isRight() const { return library_.alive() == alive_; }

 private:
  using Node = typename Library::Node;

  void come(std::int64_t count) {
    for (std::int64_t i = 0; i < count; ++i) {
      ring_[end_] = library_.make();
      if (++end_ == capacity_) end_ = 0;
    }
    inRing_ += count;
  }
  void go(std::int64_t count) {
    for (std::int64_t i = 0; i < count; ++i) {
      library_.release(ring_[start_]);
      if (++start_ == capacity_) start_ = 0;
    }
    inRing_ -= count;
  }

  Library library_;
  std::int64_t alive_;
  std::size_t capacity_;
  std::unique_ptr<Node[]> ring_;
  std::size_t start_ = 0, end_ = 0;
  std::int64_t inRing_ = 0;
};

template <typename Library>
void BM_NodeLife(benchmark::State& state) {
  const std::int64_t alive = state.range(0);
  const std::int64_t batch = state.range(1);
  const std::int64_t batches = std::max<std::int64_t>(1, kNodesPerSample / batch);
  const auto passAll = [&](auto& stream) {
    for (std::int64_t i = 0; i < batches; ++i) stream.pass(batch);
  };
  const Memory memory;
  Stream<Library> subject(alive, batch);
  subject.pass(batch);
  memory.report(state);
  Stream<Floor> floor(alive, batch);
  floor.pass(batch);

  Comparison comparison;
  for (auto _ : state) {
    comparison.sample(
        state, static_cast<double>(batch * batches), [&] { passAll(floor); }, [&] { passAll(subject); });
  }
  if (verify(state, subject.isRight() && floor.isRight(), "wrong number of nodes alive")) comparison.report(state);
}

// One node stays in every tree: the last child of an open list is not freed.
void shapes(benchmark::internal::Benchmark* benchmark) {
  benchmark->ArgNames({"alive", "batch"})->UseManualTime()->Unit(benchmark::kMillisecond);
  benchmark->Args({1, kChunk})->Args({kMany, kChunk});
}
void fillAndDrain(benchmark::internal::Benchmark* benchmark) {
  benchmark->ArgNames({"alive", "batch"})->UseManualTime()->Unit(benchmark::kMillisecond);
  benchmark->Args({1, kMany})->Iterations(3);
}

#define ARBTREE_LIFE(library)                                               \
  BENCHMARK_TEMPLATE(BM_NodeLife, library)->Apply(shapes)->Iterations(200); \
  BENCHMARK_TEMPLATE(BM_NodeLife, library)->Apply(fillAndDrain)

ARBTREE_LIFE(FloorInlined);
ARBTREE_LIFE(Arbtree);
#ifdef ARBTREE_HAVE_LIBXML2
ARBTREE_LIFE(LibXml2);
ARBTREE_LIFE(LibXml2Interned);
#endif
#ifdef ARBTREE_HAVE_PUGIXML
ARBTREE_LIFE(Pugixml);
#endif

}  // namespace
}  // namespace arbtree::bench

BENCHMARK_MAIN();
