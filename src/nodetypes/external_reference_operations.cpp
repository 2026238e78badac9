// Hashing and comparing external references: by target and by entity name.
#include <string_view>

#include "nodetypes/kind_operations.h"

namespace arbtree::external_reference_operations {
namespace {

// FNV-1a's prime: an odd multiplier that spreads each unit over the higher bits.
constexpr std::uint32_t kMultiplier = 16777619;

const ArbExternalReferenceNode& asReference(const ArbNode* node) {
  return *reinterpret_cast<const ArbExternalReferenceNode*>(node);
}

}  // namespace

// Starts from the target and folds in every unit of the name, so that an empty name gives the target itself.
std::uint32_t ARB_CALL hash(ArbNode* node) {
  const ArbExternalReferenceNode& reference = asReference(node);
  auto result = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(reference.target));
  for (const char16_t unit : std::u16string_view(reference.entityName)) result = (result ^ unit) * kMultiplier;
  return result;
}

std::uint32_t ARB_CALL isEqual(ArbNode* a, ArbNode* b) {
  const ArbExternalReferenceNode& left = asReference(a);
  const ArbExternalReferenceNode& right = asReference(b);
  const bool equal =
      left.target == right.target && std::u16string_view(left.entityName) == std::u16string_view(right.entityName);
  return equal ? 1 : 0;
}

}  // namespace arbtree::external_reference_operations
