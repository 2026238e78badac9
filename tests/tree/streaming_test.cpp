// One document through every setting: however the producer is cut into runs, however the consumer asks and in whichever
// order both sides release, the same nodes come out in the same order, and at the end nothing but the root is left.
#include <functional>
#include <string>
#include <vector>

#include "support/host.h"

namespace arbtree::test {
namespace {

// A producer that writes "a(b c(d e) f)" style text, one unit of work a step.
class Writer {
 public:
  Writer(Host& host, const Setting& setting, const std::string& content) : host_(host) {
    host.stepsPerRun = setting.stepsPerRun;
    host.then([this] {
      tree = host_.makeTree();
      open_.push_back(rootOf(tree));
      return ARB_OK;
    });
    const bool atOnce = !setting.producerAtEnd;
    for (const char unit : content) {
      if (unit == '(') host.then([this] { return open_.push_back(resolve(open_.back()->lastChildCell)), ARB_OK; });
      if (unit == ')') host.then([this, atOnce] { return close(atOnce); });
      if (unit >= 'a' && unit <= 'z') {
        host.then([this, unit] { return host_.append(open_.back(), std::string(1, unit)), ARB_OK; });
      }
    }
    host.then([this, atOnce] { return close(atOnce); });
    host.then([this] { return ArbForestAllChildrenAttached(host_.document->rootForest); });
    host.then([this] { return ArbForestProducerReleaseSubtree(host_.document->rootForest); });
  }

  ArbTree* tree = nullptr;

 private:
  // The node's leaves have not been closed by a bracket of their own.
  ArbStatus close(bool release) {
    ArbNode* const node = open_.back();
    open_.pop_back();
    if (!release) return ArbNodeProducerDoneSubtree(node);
    ok(ArbNodeProducerDoneSubtree(node));
    return ArbNodeProducerReleaseSubtree(node);
  }

  Host& host_;
  std::vector<ArbNode*> open_;
};

class Reader {
 public:
  Reader(Host& host, const Setting& setting) : host_(host), setting_(setting) {}

  std::string read() {
    ArbForestChild* child = nullptr;
    ok(settle([&] { return ArbForestQueryFirstChild(host_.document->rootForest, &child); },
              [&] { return ArbForestWaitFirstChild(host_.document->rootForest, &child); }));
    ArbNode* root = nullptr;
    ok(ArbTreeWaitRootNode(reinterpret_cast<ArbTree*>(child), &root));
    const std::string text = visit(root);
    if (setting_.consumerSubtree) ok(ArbForestChildConsumerRelease(child));
    return text;
  }

 private:
  ArbStatus settle(const std::function<ArbStatus()>& query, const std::function<ArbStatus()>& wait) {
    if (setting_.wait) return wait();
    ArbStatus status;
    while ((status = query()) == ARB_ERR_NOTREADY) {
      const ArbStatus run = ArbDocumentReadAhead(host_.document);
      if (run == ARB_STATUS_END) return wait();
      if (run != ARB_OK) return run;
    }
    return status;
  }

  std::string visit(ArbNode* node) {
    std::string text = host_.events.nameOf(node);
    ArbNode* child = nullptr;
    ok(settle([&] { return ArbNodeQueryFirstChild(node, &child); },
              [&] { return ArbNodeWaitFirstChild(node, &child); }));
    if (child) text += "(";
    while (child) {
      text += visit(child);
      ArbNode* next = nullptr;
      ok(settle([&] { return ArbNodeQueryNextSibling(child, &next); },
                [&] { return ArbNodeWaitNextSibling(child, &next); }));
      if (!setting_.consumerSubtree) ok(ArbNodeConsumerRelease(child));
      text += next ? " " : ")";
      child = next;
    }
    return text;
  }

  Host& host_;
  const Setting setting_;
};

TEST(Streaming, EverySettingGivesTheSameDocument) {
  for (const char* const content : {"", "a", "a b", "a(b)", "a(b c(d e) f) g", "a(b(c(d(e)))) f(g) h i(j k l m)"}) {
    SCOPED_TRACE(content);
    forEachSetting([&](const Setting& setting) {
      const std::uint64_t elements = liveElements();
      Host host;
      Writer writer(host, setting, content);
      Reader reader(host, setting);
      const std::string expected = *content ? "root(" + std::string(content) + ")" : "root";
      EXPECT_EQ(expected, reader.read());
      while (ArbDocumentReadAhead(host.document) == ARB_OK) {
      }
      EXPECT_EQ("root", host.shape(rootOf(writer.tree)));
      EXPECT_EQ(elements, liveElements());
    });
  }
}

}  // namespace
}  // namespace arbtree::test
