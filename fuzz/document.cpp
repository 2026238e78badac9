// The command-line host's commands on an input that may be anything: however it is chunked the output is the same, and
// what is written of an XML document is XML that gives the same again.
//
// The commands write to the descriptor of standard output, which is a temporary file from the first input on, and
// messages to the stream stderr, which is silent while they run. (Sanitizers write to its descriptor.)
#include <archive.h>
#include <archive_entry.h>
#include <unistd.h>

#include <utility>

#include "commands.h"
#include "fuzz.h"

namespace arbtree::fuzz {
namespace {

using namespace arbtree::tool;

// A file without a name, and the path that it can be opened by.
class File {
 public:
  explicit File(const char* content = "", std::size_t size = 0) : file_(std::tmpfile()) {
    require(file_ && (size == 0 || std::fwrite(content, size, 1, file_) == 1) && std::fflush(file_) == 0, "a file");
  }
  ~File() { std::fclose(file_); }
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  int descriptor() const { return fileno(file_); }
  std::string path() const { return "/dev/fd/" + std::to_string(descriptor()); }

 private:
  std::FILE* const file_;
};

struct Result {
  int status;
  std::string output;
  bool operator==(const Result&) const = default;
};

// Where standard output leads to.
int output() {
  static const File file;
  static const bool isRedirected = dup2(file.descriptor(), STDOUT_FILENO) == STDOUT_FILENO;
  require(isRedirected, "the output goes to a file");
  return file.descriptor();
}

template <typename Options>
Result run(int (*command)(const Options&), const Options& options) {
  static std::FILE* const silent = std::fopen("/dev/null", "w");
  require(silent && ftruncate(output(), 0) == 0, "the output is empty");
  lseek(output(), 0, SEEK_SET);
  std::FILE* const messages = std::exchange(stderr, silent);
  Result result{command(options), {}};
  stderr = messages;
  result.output.resize(static_cast<std::size_t>(lseek(output(), 0, SEEK_CUR)));
  const ssize_t count = pread(output(), result.output.data(), result.output.size(), 0);
  require(count == static_cast<ssize_t>(result.output.size()), "the output is read back");
  return result;
}

// Nothing that an input of a few kilobytes asks for may become large.
CommonOptions common(const File& file, std::uint32_t chunkBytes) {
  CommonOptions options{file.path(), {}, true};
  options.limits.maxBytes = 256 * 1024;
  options.limits.maxMembers = 50;
  options.limits.maxNesting = 4;
  options.limits.ratioThreshold = 128 * 1024;
  options.limits.maxDepth = 200;
  options.limits.amplificationThreshold = 32 * 1024;
  options.limits.chunkBytes = chunkBytes;
  return options;
}

Result xml(const File& file, std::uint32_t chunkBytes) {
  return run(runXml, ContentOptions{common(file, chunkBytes), ""});
}
Result text(const File& file, std::uint32_t chunkBytes) {
  return run(runText, ContentOptions{common(file, chunkBytes), ""});
}

std::vector<Result> results(const File& file, std::uint32_t chunkBytes) {
  const CommonOptions options = common(file, chunkBytes);
  return {run(runLs, LsOptions{options, ListForm::json}), run(runFind, FindOptions{options, "a", "x", "", 100, false}),
          run(runDups, DupsOptions{options, "b", true}), text(file, chunkBytes), xml(file, chunkBytes)};
}

// Expat overlooks an element that is open at the end of an entity if it was stopped right there, so what such a
// document gives depends on the chunks. In UTF-16 there are zeros between the letters.
bool mayHaveEntities(const std::uint8_t* data, std::size_t size) {
  std::string text(data, data + size);
  std::erase(text, '\0');
  return text.find("ENTITY") != std::string::npos;
}

std::string packed(int format, int filter, const std::vector<std::pair<const char*, std::string>>& members) {
  std::string bytes(64 * 1024, '\0');
  std::size_t size = 0;
  archive* const writer = archive_write_new();
  archive_write_set_format(writer, format);
  archive_write_add_filter(writer, filter);
  archive_write_set_bytes_in_last_block(writer, 1);
  archive_write_open_memory(writer, bytes.data(), bytes.size(), &size);
  for (const auto& [name, content] : members) {
    archive_entry* const entry = archive_entry_new();
    archive_entry_set_pathname(entry, name);
    archive_entry_set_filetype(entry, AE_IFREG);
    archive_entry_set_size(entry, static_cast<la_int64_t>(content.size()));
    archive_write_header(writer, entry);
    archive_write_data(writer, content.data(), content.size());
    archive_entry_free(entry);
  }
  require(archive_write_free(writer) == ARCHIVE_OK, "an archive is made");
  return bytes.substr(0, size);
}

}  // namespace

std::vector<std::string> seeds() {
  const std::string document =
      "<?xml version='1.0'?><!DOCTYPE r [<!ATTLIST a d CDATA 'default'>]><r xmlns:n='u'><a id='x' n:k='&#10;&lt;v'>one "
      "&amp;&#13;<![CDATA[<raw>]]></a><!-- c --><?p d?><b>x</b>\xC3\xA4<b>x</b></r>";
  std::vector<std::string> made = {
      document, "<?xml version='1.0' encoding='ISO-8859-1'?><a id='x'>\xE4<b/><b/></a>",
      "<!DOCTYPE r [<!ENTITY e 'text <b>x</b>'><!ENTITY f '&e;&e;'>]><r a='&e;'>&f;<c>&f;</c></r>"};
  const std::string inner = packed(ARCHIVE_FORMAT_TAR_USTAR, ARCHIVE_FILTER_GZIP, {{"b.xml", document}, {"c", "d"}});
  for (const int format :
       {ARCHIVE_FORMAT_TAR_PAX_RESTRICTED, ARCHIVE_FORMAT_ZIP, ARCHIVE_FORMAT_CPIO_SVR4_NOCRC, ARCHIVE_FORMAT_7ZIP}) {
    made.push_back(packed(format, ARCHIVE_FILTER_NONE, {{"a.xml", document}, {"inner.tgz", inner}, {"f", "file"}}));
  }
  return made;
}

}  // namespace arbtree::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace arbtree::fuzz;
  const File file(reinterpret_cast<const char*>(data), size);
  const std::vector<Result> whole = results(file, 32 * 1024);
  if (!mayHaveEntities(data, size)) require(results(file, 1) == whole, "the output does not depend on the chunks");
  const Result& copied = whole.back();
  if (copied.status != 0) return 0;
  const File copy(copied.output.data(), copied.output.size());
  require(xml(copy, 100) == copied, "what is written of an XML document gives the same again");
  require(text(copy, 100) == text(file, 100), "its text is the same");
  return 0;
}
