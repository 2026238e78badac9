// Metadata of nodes and child documents: every change of size, every way to read, and what is freed.
#include "tree/metadata.h"

#include <cstring>
#include <functional>

#include "platform/heap.h"
#include "support/host.h"

namespace arbtree::test {
namespace {

const char kBytes[] = "abcdefghijklmnopqrstuvwxyz";

// The same rules for both kinds of owner.
struct Owner {
  const char* name;
  std::function<ArbStatus(std::uint32_t, const void*, std::uint32_t)> set;
  std::function<ArbStatus(std::uint32_t, void*, std::uint32_t*)> get;
};

void forEachOwner(const std::function<void(const Owner&)>& body) {
  Host host;
  ArbNode* const node = rootOf(host.makeTree());
  ArbForestChild* const child = &host.document->rootForest->child;
  const Owner owners[] = {
      {"node", [=](auto key, auto value, auto size) { return ArbNodeSetMetadata(node, key, value, size); },
       [=](auto key, auto buffer, auto size) { return ArbNodeGetMetadata(node, key, buffer, size); }},
      {"child", [=](auto key, auto value, auto size) { return ArbForestChildSetMetadata(child, key, value, size); },
       [=](auto key, auto buffer, auto size) { return ArbForestChildGetMetadata(child, key, buffer, size); }},
  };
  for (const Owner& owner : owners) {
    SCOPED_TRACE(owner.name);
    body(owner);
  }
}

void expectValue(const Owner& owner, std::uint32_t key, const char* bytes, std::uint32_t size) {
  char buffer[32];
  std::memset(buffer, '#', sizeof buffer);
  std::uint32_t got = sizeof buffer;
  ok(owner.get(key, buffer, &got));
  EXPECT_EQ(size, got);
  EXPECT_EQ(0, std::memcmp(buffer, bytes, size));
  EXPECT_EQ('#', buffer[size]);
}

// Up to four bytes are kept in the entry; a value of the same size takes the place of the old one.
TEST(Metadata, WhatTakesMemory) {
  for (const std::uint32_t size : {0u, 4u, 5u, 20u}) {
    SCOPED_TRACE(size);
    forEachOwner([size](const Owner& owner) {
      const std::uint64_t blocks = heap::testing::liveBlocks();
      ok(owner.set(1, kBytes, size));
      EXPECT_EQ(blocks + (size > 4 ? 2 : 1), heap::testing::liveBlocks());
      heap::testing::failAllocation(1, true);
      ok(owner.set(1, kBytes + 3, size));
      heap::testing::stopFailing();
      expectValue(owner, 1, kBytes + 3, size);
    });
  }
}

TEST(Metadata, Reading) {
  forEachOwner([](const Owner& owner) {
    char buffer[8] = "#######";
    std::uint32_t size = 3;
    EXPECT_EQ(ARB_ERR_NOTFOUND, owner.get(7, buffer, &size));
    EXPECT_EQ(3u, size);
    for (const std::uint32_t length : {3u, 6u}) {
      SCOPED_TRACE(length);
      ok(owner.set(7, kBytes, length));
      EXPECT_EQ(ARB_ERR_NOTFOUND, owner.get(8, buffer, &size));
      size = length - 1;
      EXPECT_EQ(ARB_OK, owner.get(7, buffer, &size)) << "too small";
      EXPECT_EQ(length, size);
      EXPECT_STREQ("#######", buffer);
      size = 0;
      ok(owner.get(7, nullptr, &size));
      EXPECT_EQ(length, size);
      size = 100;
      ok(owner.get(7, nullptr, &size));
      EXPECT_EQ(length, size);
      ok(owner.get(7, nullptr, nullptr));
      ok(owner.get(7, buffer, nullptr));
      EXPECT_EQ(0, std::memcmp(buffer, kBytes, length));
      size = length;
      EXPECT_EQ(ARB_OK, owner.get(7, buffer, &size)) << "exact";
      EXPECT_EQ(length, size);
      std::memcpy(buffer, "#######", 8);
      size = 0;
    }
    ok(owner.set(9, nullptr, 0));
    size = 5;
    EXPECT_EQ(ARB_OK, owner.get(9, buffer, &size)) << "an empty value is there";
    EXPECT_EQ(0u, size);
  });
}

TEST(Metadata, AValueMayBeAPartOfTheOldOne) {
  Host host;
  ArbNode* const node = rootOf(host.makeTree());
  for (const std::uint32_t before : {4u, 10u}) {
    for (const std::uint32_t size : {before, before - 1, 3u, 1u, 0u}) {
      SCOPED_TRACE(testing::Message() << before << " bytes to " << size);
      EXPECT_EQ(ARB_OK, ArbNodeSetMetadata(node, 7, kBytes, before));
      const std::uint32_t skipped = before - size;
      EXPECT_EQ(ARB_OK, ArbNodeSetMetadata(node, 7, metadata::valueOf(*node->metadata) + skipped, size));
      std::uint32_t got = size;
      char buffer[16];
      EXPECT_EQ(ARB_OK, ArbNodeGetMetadata(node, 7, buffer, &got));
      EXPECT_EQ(std::string(kBytes + skipped, size), std::string(buffer, got));
    }
  }
}

TEST(Metadata, AFailedAllocationKeepsTheOldValue) {
  forEachOwner([](const Owner& owner) {
    ok(owner.set(7, kBytes, 6));
    heap::testing::failAllocation(1, true);
    ok(owner.set(7, kBytes + 1, 9));
    EXPECT_TRUE(heap::testing::failureFired());
    ok(owner.set(8, kBytes, 2));
    ok(owner.set(9, kBytes, 9));
    heap::testing::stopFailing();
    expectValue(owner, 7, kBytes, 6);
    EXPECT_EQ(ARB_ERR_NOTFOUND, owner.get(8, nullptr, nullptr));
    EXPECT_EQ(ARB_ERR_NOTFOUND, owner.get(9, nullptr, nullptr));
    ok(owner.set(8, kBytes, 2));
    expectValue(owner, 8, kBytes, 2);
  });
}

}  // namespace
}  // namespace arbtree::test
