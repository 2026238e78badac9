// Random calls of the producer and the consumer on one tree, compared call by call with a plain model of nodes, flags,
// releases, events and cells. ARBTREE_SEED runs a printed seed again.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "support/host.h"
#include "support/plain_pool.h"
#include "support/seed.h"

namespace arbtree::test {
namespace {

struct ModelNode {
  std::uint32_t number;
  ArbNode* node;
  Place cell;
  ModelNode* parent = nullptr;
  std::vector<ModelNode*> children{};
  std::uint32_t count = 0, freed = 0;
  bool linked = false, inTree = false, attributes = false, closed = false, producer = false, consumer = false;
  bool freeing = false;

  std::string name() const { return number == 1 ? "root" : joined({"#", std::to_string(number)}); }
  std::string shape() const {
    std::string text;
    for (const ModelNode* child : children) text += joined({text.empty() ? "" : " ", child->shape()});
    return text.empty() ? name() : joined({name(), "(", text, ")"});
  }
  bool contains(const ModelNode* other) const {
    while (other && other != this) other = other->parent;
    return other != nullptr;
  }
};

// The rules in their plainest form, with recursion and searches wherever they are simplest.
class Model {
 public:
  explicit Model(bool producerOnly) : producerOnly_(producerOnly) {}

  Lines lines;
  std::vector<std::unique_ptr<ModelNode>> nodes;
  ModelNode* root() const { return nodes.front().get(); }

  ModelNode* create(ArbNode* node) {
    nodes.push_back(std::make_unique<ModelNode>(ModelNode{++numbers_, node, pool_.take()}));
    if (numbers_ == 1) nodes.back()->linked = nodes.back()->inTree = true;
    return nodes.back().get();
  }

  ArbStatus append(ModelNode* parent, ModelNode* child) {
    if (child->linked) return ARB_ERR_ATTACHED;
    if (parent->closed) return ARB_ERR_CLOSED;
    link(parent, parent->children.size(), child, parent->inTree);
    return ARB_OK;
  }
  ArbStatus insert(ModelNode* reference, ModelNode* node) {
    if (!producerOnly_) return ARB_ERR_MODE;
    if (node->linked) return ARB_ERR_ATTACHED;
    if (reference->closed) return ARB_ERR_CLOSED;
    if (!reference->parent) return ARB_ERR_DETACHED;
    link(reference->parent, indexOf(reference), node, reference->inTree);
    return ARB_OK;
  }
  ArbStatus remove(ModelNode* node) {
    if (!producerOnly_) return ARB_ERR_MODE;
    if (!node->linked) return ARB_ERR_DETACHED;
    --node->parent->count;
    unlink(node);
    node->linked = node->inTree = false;
    return ARB_OK;
  }
  ArbStatus transfer(ModelNode* from, ModelNode* to) {
    if (from->attributes) return ARB_ERR_LOCKED;
    if (from->closed || to->closed || (from->inTree && !producerOnly_)) return ARB_ERR_CLOSED;
    if (from == to) return ARB_ERR_BADARG;
    for (ModelNode* child : from->children) child->parent = to;
    to->children.insert(to->children.end(), from->children.begin(), from->children.end());
    to->count += from->count;
    from->children.clear();
    from->count = 0;
    return ARB_OK;
  }
  ArbStatus destroy(ModelNode* node) {
    if (node->inTree) return ARB_ERR_ATTACHED;
    free(node);
    return ARB_OK;
  }

  ArbStatus attributesDone(ModelNode* node) {
    if (!node->attributes) node->attributes = true, say("attributes", *node);
    return ARB_OK;
  }
  ArbStatus allChildrenAttached(ModelNode* node) {
    node->closed = true;
    say("children", *node);
    return ARB_OK;
  }
  ArbStatus producerDone(ModelNode* node) { return attributesDone(node), allChildrenAttached(node); }
  ArbStatus producerDoneSubtree(ModelNode* node) {
    const bool before = node->attributes && node->closed;
    for (ModelNode* child : node->children) producerDoneSubtree(child);
    if (!before) producerDone(node);
    return ARB_OK;
  }
  ArbStatus producerRelease(ModelNode* node) {
    if (node->producer) return ARB_ERR_RELEASED;
    say("producer-release", *node);
    if (!node->linked) return ARB_ERR_DETACHED;
    attributesDone(node);
    if (!node->closed) allChildrenAttached(node);
    node->producer = true;
    freeRule(node);
    return ARB_OK;
  }
  ArbStatus producerReleaseSubtree(ModelNode* node) {
    const bool before = node->producer;
    for (ModelNode* child : std::vector<ModelNode*>(node->children)) producerReleaseSubtree(child);
    if (!before) producerRelease(node);
    return ARB_OK;
  }
  ArbStatus consumerRelease(ModelNode* node) {
    if (producerOnly_) return ARB_ERR_MODE;
    if (node->consumer) return ARB_ERR_RELEASED;
    say("consumer-release", *node);
    node->consumer = true;
    freeRule(node);
    return ARB_OK;
  }
  // Production has ended, so every wait is answered from what exists.
  ArbStatus consumerReleaseSubtree(ModelNode* node) {
    if (producerOnly_) return ARB_ERR_MODE;
    if (node->consumer) return ARB_ERR_RELEASED;
    ArbStatus status = ARB_OK;
    for (ModelNode* child : std::vector<ModelNode*>(node->children)) {
      if (child->consumer) status = ARB_ERR_RELEASED;
      consumerReleaseSubtree(child);
      if (status != ARB_OK) break;
    }
    consumerRelease(node);
    return status;
  }

 private:
  void say(const char* event, const ModelNode& node) { lines.push_back(joined({event, " ", node.name()})); }
  static std::size_t indexOf(const ModelNode* node) {
    const auto& list = node->parent->children;
    return static_cast<std::size_t>(std::find(list.begin(), list.end(), node) - list.begin());
  }
  void link(ModelNode* parent, std::size_t index, ModelNode* node, bool join) {
    parent->children.insert(parent->children.begin() + static_cast<std::ptrdiff_t>(index), node);
    ++parent->count;
    node->parent = parent;
    node->linked = true;
    say("linked", *node);
    if (join) attach(node);
  }
  void unlink(ModelNode* node) {
    auto& list = node->parent->children;
    list.erase(list.begin() + static_cast<std::ptrdiff_t>(indexOf(node)));
    node->parent = nullptr;
  }
  void attach(ModelNode* node) {
    if (node->inTree) return;
    node->inTree = true;
    say("in-tree", *node);
    for (ModelNode* child : node->children) attach(child);
  }
  void freeRule(ModelNode* node) {
    if (!node->producer || !(node->consumer || producerOnly_) || node->freed < node->count || node == root()) return;
    if (node->parent && node->parent->children.back() == node && !node->parent->closed) return;
    free(node);
  }
  void free(ModelNode* node) {
    if (node->freeing) return;
    say("freed", *node);
    freeBelow(node);
    settle(node);
  }
  void freeBelow(ModelNode* node) {
    node->freeing = true;
    while (node->freed < node->count) {
      ModelNode* const child = node->children.front();
      freeBelow(child);
      settle(child);
    }
  }
  void settle(ModelNode* node) {
    if (ModelNode* const parent = node->parent) {
      unlink(node);
      ++parent->freed;
      freeRule(parent);
    }
    pool_.giveBack(node->cell);
    say("destroy", *node);
    nodes.erase(std::find_if(nodes.begin(), nodes.end(), [node](const auto& own) { return own.get() == node; }));
  }

  const bool producerOnly_;
  std::uint32_t numbers_ = 0;
  PlainPool pool_;
};

// One sequence of calls on a new document.
void runSequence(std::mt19937& random) {
  const bool producerOnly = random() % 2 != 0;
  const std::uint64_t elements = liveElements();
  Host host(producerOnly ? 1 : 0);
  EXPECT_EQ(ARB_STATUS_END, ArbDocumentReadAhead(host.document));
  ArbTree* const tree = host.makeTree();
  Model model(producerOnly);
  model.create(rootOf(tree));
  host.record();
  elementTrace = &host.events;

  using Pair = std::pair<ArbStatus, ArbStatus>;  // the library's answer and the model's
  const auto any = [&] { return model.nodes[random() % model.nodes.size()].get(); };
  const auto step = [&]() -> Pair {
    ModelNode* const a = any();
    ModelNode* const b = any();
    switch (random() % 22) {
      case 0:
      case 1:
      case 2:
      case 3:
      case 4: {
        if (model.nodes.size() > 60) return {0, 0};
        ArbNode* node = nullptr;
        EXPECT_EQ(ARB_OK, ArbTreeCreateNode(tree, elementId(1), nullptr, &node));
        host.events.take();  // factory and event, seen elsewhere
        ModelNode* const made = model.create(node);
        EXPECT_EQ(made->number, node->number);
        EXPECT_EQ(made->cell, placeOf(*tree, node->cell));
        if (a->closed) return {0, 0};
        return {ArbNodeAppendChild(a->node, node), model.append(a, made)};
      }
      case 5:
      case 6:
        if (b->contains(a)) return {0, 0};
        return {ArbNodeAppendChild(a->node, b->node), model.append(a, b)};
      case 7:
      case 8:
        if (b->contains(a)) return {0, 0};
        return {ArbNodeInsertSiblingBefore(a->node, b->node), model.insert(a, b)};
      case 9:
      case 10:
        if (a == model.root()) return {0, 0};
        return {ArbNodeRemoveFromTree(a->node), model.remove(a)};
      case 11:
        // Counts of freed children do not move, so a list that has lost some is left alone.
        if ((a != b && a->contains(b)) || a->freed || b->children.size() != b->count) return {0, 0};
        return {ArbNodeTransferChildren(a->node, b->node), model.transfer(a, b)};
      case 12:
        if (random() % 2) return {0, 0};
        return {ArbNodeDestroy(a->node), model.destroy(a)};
      case 13:
        return {ArbNodeAttributesDone(a->node), model.attributesDone(a)};
      case 14:
        return {ArbNodeAllChildrenAttached(a->node), model.allChildrenAttached(a)};
      case 15:
        return {ArbNodeProducerDone(a->node), model.producerDone(a)};
      case 16:
        return {ArbNodeProducerDoneSubtree(a->node), model.producerDoneSubtree(a)};
      case 17:
      case 18:
        return {ArbNodeProducerRelease(a->node), model.producerRelease(a)};
      case 19:
        return {ArbNodeProducerReleaseSubtree(a->node), model.producerReleaseSubtree(a)};
      case 20:
        return {ArbNodeConsumerRelease(a->node), model.consumerRelease(a)};
      default:
        return {ArbNodeConsumerReleaseSubtree(a->node), model.consumerReleaseSubtree(a)};
    }
  };
  for (int i = 0; i < 150; ++i) {
    const Pair status = step();
    ASSERT_EQ(status.second, status.first) << "step " << i;
    ASSERT_EQ(model.lines, host.events.take()) << "step " << i;
    model.lines.clear();
    if (i % 16 == 0) {
      ASSERT_EQ(model.root()->shape(), host.shape(model.root()->node)) << "step " << i;
    }
    ASSERT_EQ(model.nodes.size() - 1, liveElements() - elements) << "step " << i;
  }

  // What is not below the root is its maker's to destroy.
  for (bool found = true; found;) {
    found = false;
    for (const auto& node : model.nodes) {
      if (node->linked) continue;
      ASSERT_EQ(ARB_OK, ArbNodeDestroy(node->node));
      ASSERT_EQ(ARB_OK, model.destroy(node.get()));
      found = true;
      break;
    }
  }
  host.destroy();
  ASSERT_EQ(elements, liveElements());
}

TEST(Random, CallsAgreeWithAPlainModel) {
  std::mt19937 random(testSeed());
  for (int sequence = 0; sequence < 3000 && !HasFatalFailure() && !HasNonfatalFailure(); ++sequence) {
    SCOPED_TRACE(testing::Message() << "sequence " << sequence);
    runSequence(random);
  }
}

}  // namespace
}  // namespace arbtree::test
