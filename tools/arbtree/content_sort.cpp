// Endings of names, and the marks by which formats are known: their own descriptions give them (POSIX ustar and cpio,
// RFC 1952 gzip, RFC 8878 Zstandard, the XML recommendation's appendix on encodings, and so on).
#include "content_sort.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string>

namespace arbtree::tool {
namespace {

using namespace std::string_view_literals;

constexpr std::array kXmlEndings = {
    "atom"sv, "dae"sv,   "dbk"sv, "fo"sv,  "gpx"sv,  "kml"sv, "mathml"sv, "mml"sv,  "ncx"sv,
    "opf"sv,  "plist"sv, "pom"sv, "rdf"sv, "rels"sv, "rng"sv, "rss"sv,    "svg"sv,  "ui"sv,
    "wsdl"sv, "xhtml"sv, "xlf"sv, "xmi"sv, "xml"sv,  "xsd"sv, "xsl"sv,    "xslt"sv, "xul"sv,
};
constexpr std::array kFileEndings = {
    "a"sv,    "avi"sv,        "bmp"sv, "c"sv,    "cc"sv,   "class"sv, "conf"sv,  "cpp"sv,  "css"sv, "csv"sv, "gif"sv,
    "h"sv,    "hpp"sv,        "htm"sv, "html"sv, "ico"sv,  "ini"sv,   "java"sv,  "jpeg"sv, "jpg"sv, "js"sv,  "json"sv,
    "log"sv,  "md"sv,         "mf"sv,  "mkv"sv,  "mp3"sv,  "mp4"sv,   "o"sv,     "ogg"sv,  "otf"sv, "pdf"sv, "png"sv,
    "po"sv,   "properties"sv, "py"sv,  "pyc"sv,  "rs"sv,   "rst"sv,   "sh"sv,    "so"sv,   "sql"sv, "tex"sv, "tif"sv,
    "tiff"sv, "ttf"sv,        "txt"sv, "wav"sv,  "webp"sv, "woff"sv,  "woff2"sv, "yaml"sv, "yml"sv,
};

struct Mark {
  std::size_t offset;
  std::string_view bytes;
};
constexpr std::array kArchiveMarks = {
    Mark{0, "PK\3\4"sv},
    Mark{0, "PK\5\6"sv},
    Mark{0, "\x1f\x8b"sv},
    Mark{0, "BZh"sv},
    Mark{0,
         "\xfd"
         "7zXZ\0"sv},
    Mark{0, "\x28\xb5\x2f\xfd"sv},
    Mark{0, "!<arch>\n"sv},
    Mark{0, "070701"sv},
    Mark{0, "070702"sv},
    Mark{0, "070707"sv},
    Mark{0, "\xc7\x71"sv},
    Mark{0, "\x71\xc7"sv},
    Mark{0, "\x1f\x9d"sv},
    Mark{0, "LZIP"sv},
    Mark{0, "\x04\x22\x4d\x18"sv},
    Mark{257, "ustar"sv},
    Mark{0, "\x5d\0\0"sv},
};
constexpr Mark kSevenZip = {0, "7z\xbc\xaf\x27\x1c"sv};

char lowered(char byte) { return static_cast<char>(std::tolower(static_cast<unsigned char>(byte))); }

bool hasMark(std::string_view beginning, const Mark& mark) {
  return beginning.size() >= mark.offset && beginning.substr(mark.offset).starts_with(mark.bytes);
}

// A tar older than ustar has no mark, but each of its headers has a sum over its 512 bytes, in which the sum's own
// eight count as spaces.
bool isOldTar(std::string_view beginning) {
  constexpr std::size_t kSumAt = 148;
  if (beginning.size() < 512 || beginning[0] == 0) return false;
  unsigned sum = 0;
  for (std::size_t i = 0; i < 512; ++i) {
    const bool isSum = i >= kSumAt && i < kSumAt + 8;
    sum += static_cast<unsigned char>(isSum ? ' ' : beginning[i]);
  }
  unsigned told = 0;
  std::size_t digits = 0;
  for (std::size_t i = kSumAt; i < kSumAt + 8; ++i) {
    const char digit = beginning[i];
    if (digit < '0' || digit > '7') continue;
    told = told * 8 + static_cast<unsigned>(digit - '0');
    ++digits;
  }
  return digits != 0 && told == sum;
}

// The beginning in ASCII, as far as that says what it is; UTF-16 loses its zero bytes.
std::string plainBeginning(std::string_view bytes) {
  if (bytes.starts_with("\xef\xbb\xbf"sv)) bytes.remove_prefix(3);
  const bool wide = bytes.starts_with("\xff\xfe"sv) || bytes.starts_with("\xfe\xff"sv) || bytes.starts_with("<\0"sv) ||
                    bytes.starts_with("\0<"sv);
  if (bytes.starts_with("\xff\xfe"sv) || bytes.starts_with("\xfe\xff"sv)) bytes.remove_prefix(2);
  std::string plain(bytes);
  if (wide) std::erase(plain, '\0');
  const std::size_t start = plain.find_first_not_of(" \t\r\n");
  return start == std::string::npos ? std::string() : plain.substr(start);
}

// A declaration says that it is XML, and so does a document type or a namespace. Pages of HTML are no XML.
bool isXml(std::string_view bytes) {
  const std::string beginning = plainBeginning(bytes);
  if (beginning.starts_with("<?xml")) return true;
  if (!beginning.starts_with('<')) return false;
  std::string lower(beginning);
  std::transform(lower.begin(), lower.end(), lower.begin(), lowered);
  if (lower.starts_with("<!doctype html") || lower.starts_with("<html")) return false;
  return beginning.starts_with("<!DOCTYPE ") || beginning.find(" xmlns") != std::string::npos;
}

template <typename Endings>
bool isOneOf(const Endings& endings, std::string_view ending) {
  return std::find(endings.begin(), endings.end(), ending) != endings.end();
}

}  // namespace

std::optional<ContentSort> sortByName(std::string_view name) {
  const std::size_t dot = name.rfind('.');
  if (dot == std::string_view::npos || name.find('/', dot) != std::string_view::npos) return std::nullopt;
  std::string ending(name.substr(dot + 1));
  std::transform(ending.begin(), ending.end(), ending.begin(), lowered);
  if (isOneOf(kXmlEndings, ending)) return ContentSort::xml;
  if (isOneOf(kFileEndings, ending)) return ContentSort::file;
  return std::nullopt;
}

ContentSort sortByContent(std::string_view beginning) {
  if (hasMark(beginning, kSevenZip)) return ContentSort::seekingArchive;
  for (const Mark& mark : kArchiveMarks) {
    if (hasMark(beginning, mark)) return ContentSort::archive;
  }
  if (isOldTar(beginning)) return ContentSort::archive;
  return isXml(beginning) ? ContentSort::xml : ContentSort::file;
}

}  // namespace arbtree::tool
