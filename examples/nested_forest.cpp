// An archive with an archive in it, unpacked. The producer makes a forest for every archive and a file for every file,
// only as far as the consumer has come; the consumer walks the forests, tells where each child document belongs, and
// has the files written below the current directory.
//
//     root forest
//       album.xml           a tree with a text
//       readme.txt          a file
//       photos (archive)
//         album-sea.jpg     a file
//         more (archive)
//           album-hill.jpg  a file
//       album.jpg           a file
#include <arbtree/arbtree.h>
#include <arbtree/compwrite.h>
#include <arbtree/srcaccess.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr uint16_t kTextFormat = 7001;
constexpr uint16_t kPictureFormat = 7002;
constexpr uint32_t kContentKey = 1;  // metadata of a file: its content, as a packed archive would hold it

void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "nested_forest: %s failed\n", what);
  std::exit(1);
}

std::string narrow(const char16_t* text) {
  std::string result;
  for (; *text; ++text) result += *text < 128 ? static_cast<char>(*text) : '?';
  return result;
}

// --- The producer: one step of the archive a run, so that one sees how far it has come. ---

ArbDocument* document = nullptr;
ArbForest* photos = nullptr;
ArbForest* more = nullptr;
uint32_t step = 0;

void append(ArbForest* forest, ArbForestChild* child) {
  require(ArbForestAppendChild(forest, child) == ARB_OK, "ArbForestAppendChild");
}

// Names come from patterns: %b is the name of the input file without its extension, %e the extension of the format.
void appendFile(ArbForest* forest, const char16_t* pattern, uint16_t format, const char* content) {
  ArbFile* file = nullptr;
  require(ArbDocumentCreateFile(document, pattern, format, &file) == ARB_OK, "ArbDocumentCreateFile");
  ArbForestChildSetMetadata(&file->child, kContentKey, content, static_cast<uint32_t>(std::strlen(content)));
  append(forest, &file->child);
  ArbForestChildProducerRelease(&file->child);
}

ArbForest* appendForest(ArbForest* parent, const char16_t* pattern) {
  ArbForest* forest = nullptr;
  require(ArbDocumentCreateForest(document, pattern, &forest) == ARB_OK, "ArbDocumentCreateForest");
  append(parent, &forest->child);
  return forest;
}

void appendTree(ArbForest* forest, const char16_t* pattern, const std::u16string& content) {
  ArbTree* tree = nullptr;
  ArbNode* text = nullptr;
  require(ArbDocumentCreateTree(document, pattern, &tree) == ARB_OK, "ArbDocumentCreateTree");
  auto* const child = reinterpret_cast<ArbForestChild*>(tree);
  append(forest, child);
  require(ArbTreeCreateNode(tree, ARB_ELEM_TEXT, nullptr, &text) == ARB_OK, "ArbTreeCreateNode");
  ArbAbstractTextNodeSetValue(text, content.data(), static_cast<uint32_t>(content.size()));
  require(ArbNodeAppendChild(ArbTreeRootNode(tree), text) == ARB_OK, "ArbNodeAppendChild");
  ArbForestChildProducerRelease(child);  // completes and releases the nodes as well
}

uint32_t ARB_CALL produce(uint32_t, uint32_t, uint32_t) {
  ArbForest* const top = ArbDocumentRootForest(document);
  switch (step++) {
    case 0:
      appendTree(top, u"%b.%e", u"an album of two pictures");
      return 0;
    case 1:
      appendFile(top, u"readme.%e", kTextFormat, "Unpack me.\n");
      photos = appendForest(top, u"photos");
      return 0;
    case 2:
      appendFile(photos, u"%b-sea.%e", kPictureFormat, "the sea");
      more = appendForest(photos, u"more");
      return 0;
    case 3:
      appendFile(more, u"%b-hill.%e", kPictureFormat, "a hill");
      ArbForestProducerReleaseSubtree(photos);  // closes the forests below it and itself
      return 0;
    default:
      appendFile(top, u"%b.%e", kPictureFormat, "the cover");
      ArbForestProducerReleaseSubtree(top);
      return ARB_STATUS_END;
  }
}

// --- The consumer. ---

// Hands the content of a file to the writer, piece by piece.
uint32_t ARB_CALL provideContent(ArbFile* file, uint32_t, uint64_t offset, void* buffer, uint32_t capacity,
                                 uint32_t* byteCount, void*) {
  uint32_t size = 0;
  ArbForestChildGetMetadata(&file->child, kContentKey, nullptr, &size);
  std::vector<char> content(size + 1);
  ArbForestChildGetMetadata(&file->child, kContentKey, content.data(), &size);
  const std::string rest(content.data() + offset, size - static_cast<size_t>(offset));
  *byteCount = static_cast<uint32_t>(rest.copy(static_cast<char*>(buffer), capacity));
  return ARB_OK;
}

std::string documentPath(ArbForestChild* child) {
  uint32_t size = 0;
  require(ArbForestChildGetDocumentPath(child, nullptr, &size) == ARB_ERR_SMALLBUFFER, "asking for the size");
  std::vector<char16_t> path(size);
  require(ArbForestChildGetDocumentPath(child, path.data(), &size) == ARB_OK, "ArbForestChildGetDocumentPath");
  return narrow(path.data());
}

std::string contentOf(const char* path) {
  std::FILE* const stream = std::fopen(path, "rb");
  require(stream != nullptr, "opening the written file");
  char content[64] = {};
  const size_t size = std::fread(content, 1, sizeof content - 1, stream);
  std::fclose(stream);
  return {content, size};
}

void visit(ArbForestChild* child) {
  const char* const kinds[] = {"", "forest", "file", "tree"};
  std::printf("run %u: %s %u %s\n", step, kinds[child->kind], child->id, documentPath(child).c_str());
  if (child->kind != ARB_CHILD_FILE) return;
  require(ArbFileWrite(reinterpret_cast<ArbFile*>(child), 0) == ARB_OK, "ArbFileWrite");
}

// Visits all child documents below a forest, in order. An archive may lie in an archive to any depth, so the way back
// is by the parents and not by recursion. Each child is released when all below it has been visited.
void walk(ArbForest* start) {
  ArbForestChild* child = nullptr;
  require(ArbForestWaitFirstChild(start, &child) == ARB_OK, "ArbForestWaitFirstChild");
  while (child) {
    visit(child);
    ArbForestChild* next = nullptr;
    if (child->kind == ARB_CHILD_FOREST) {
      require(ArbForestWaitFirstChild(reinterpret_cast<ArbForest*>(child), &next) == ARB_OK, "ArbForestWaitFirstChild");
    }
    while (!next && child != &start->child) {
      require(ArbForestChildWaitNextSibling(child, &next) == ARB_OK, "ArbForestChildWaitNextSibling");
      ArbForest* const parent = child->parent;
      require(ArbForestChildConsumerRelease(child) == ARB_OK, "ArbForestChildConsumerRelease");
      if (!next) child = &parent->child;
    }
    child = next;
  }
}

}  // namespace

int main() {
  uint32_t source = 0;
  ArbHostContext host{};
  host.startEntry = host.continueEntry = produce;
  require(SrcRegisterFormat(kTextFormat, "txt") == ARB_OK && SrcRegisterFormat(kPictureFormat, "jpg") == ARB_OK,
          "SrcRegisterFormat");
  require(SrcOpen(u"in/album.zip", u"out/unpacked.zip", &source) == ARB_OK, "SrcOpen");
  require(CompWriteSetDirectory(&host, u".", provideContent, nullptr) == ARB_OK, "CompWriteSetDirectory");
  require(ArbDocumentCreate(source, &host, nullptr, 0, 0, &document) == ARB_OK, "ArbDocumentCreate");

  walk(ArbDocumentRootForest(document));
  std::printf("written: %s, %s\n", contentOf("photos/album-sea.jpg").c_str(),
              contentOf("photos/more/album-hill.jpg").c_str());

  require(ArbDocumentDestroy(document) == ARB_OK, "ArbDocumentDestroy");
  require(CompWriteRemoveWriter(&host) == ARB_OK && SrcClose(source) == ARB_OK, "closing");
  return 0;
}
