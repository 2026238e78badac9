// Metadata and paths through the library's calls.
#include "member.h"

#include <vector>

#include "member_name.h"

namespace arbtree::tool {

ArbStatus setFacts(ArbForestChild& child, const MemberFacts& facts) {
  return ArbForestChildSetMetadata(&child, kMemberFacts, &facts, sizeof facts);
}

MemberFacts factsOf(ArbForestChild& child) {
  MemberFacts facts = {};
  facts.size = -1;
  std::uint32_t size = sizeof facts;
  ArbForestChildGetMetadata(&child, kMemberFacts, &facts, &size);
  return facts;
}

ArbStatus setBytes(ArbForestChild& child, std::uint32_t key, std::string_view bytes) {
  return ArbForestChildSetMetadata(&child, key, bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}

std::string bytesOf(ArbForestChild& child, std::uint32_t key) {
  std::uint32_t size = 0;
  ArbForestChildGetMetadata(&child, key, nullptr, &size);
  std::string bytes(size, '\0');
  if (size != 0) ArbForestChildGetMetadata(&child, key, bytes.data(), &size);
  return bytes;
}

std::string pathOf(ArbForestChild& child) {
  std::string full = bytesOf(child, kMemberPath);
  if (!full.empty()) return full;
  std::u16string path(sizeof child.name / sizeof child.name[0], u'\0');
  auto size = static_cast<std::uint32_t>(path.size());
  if (ArbForestChildGetDocumentPath(&child, path.data(), &size) == ARB_ERR_SMALLBUFFER) {
    path.resize(size);
    ArbForestChildGetDocumentPath(&child, path.data(), &size);
  }
  path.resize(path.find(u'\0'));
  return toBytes(path);
}

bool isTooLong(std::u16string_view pattern) {
  return pattern.size() >= sizeof(ArbForestChild::name) / sizeof(ArbForestChild::name[0]);
}

}  // namespace arbtree::tool
