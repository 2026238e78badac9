// The signs of the formats.
#include "content_kind.h"

#include <algorithm>
#include <cctype>
#include <string>

namespace arbtree::tool {
namespace {

using namespace std::string_view_literals;

struct Sign {
  std::string_view bytes;
  ContentKind kind;
};

constexpr Sign kSigns[] = {
    {"PK\3\4"sv, ContentKind::zip},
    {"PK\5\6"sv, ContentKind::zip},
    {"PK00PK\3\4"sv, ContentKind::zip},
    {"PK\7\10PK\3\4"sv, ContentKind::zip},
    {"!<arch>\n"sv, ContentKind::ar},
    {"070701"sv, ContentKind::cpio},
    {"070702"sv, ContentKind::cpio},
    {"070707"sv, ContentKind::cpio},
    {"7z\xBC\xAF\x27\x1C"sv, ContentKind::sevenZip},
    {"MSCF\0\0\0\0"sv, ContentKind::cab},
    {"Rar!\x1A\x07\0"sv, ContentKind::rar},
    {"Rar!\x1A\x07\1"sv, ContentKind::rar5},
    {"xar!\0"sv, ContentKind::xar},
    {"\x1F\x8B\x08"sv, ContentKind::compressed},
    {"\xFD"
     "7zXZ\0"sv,
     ContentKind::compressed},
    {"\x28\xB5\x2F\xFD"sv, ContentKind::compressed},
    {"\x04\x22\x4D\x18"sv, ContentKind::compressed},
    {"LZIP\1"sv, ContentKind::compressed},
    {"\xED\xAB\xEE\xDB"sv, ContentKind::compressed},  // a package of rpm: an archive behind headers
    {"<?xml"sv, ContentKind::xml},
    {"\xEF\xBB\xBF<?xml"sv, ContentKind::xml},
    {"\xFE\xFF\0<\0?"sv, ContentKind::xml},
    {"\xFF\xFE<\0?\0"sv, ContentKind::xml},
    {"\0<\0?\0x"sv, ContentKind::xml},
    {"<\0?\0x\0"sv, ContentKind::xml},
};

constexpr std::string_view kXmlExtensions[] = {
    "atom", "dbk", "docbook", "fodt", "glade", "gpx",  "kml",   "mml", "ncx", "omf", "opf", "page", "plist", "pom",
    "rdf",  "rng", "rss",     "svg",  "ui",    "wsdl", "xhtml", "xlf", "xml", "xsd", "xsl", "xslt", "xul",
};

constexpr std::string_view kCompressions[] = {"bz2", "gz", "lz", "lz4", "lzma", "xz", "z", "zst"};

// Of tar archives that are compressed.
constexpr std::string_view kTarExtensions[] = {"tbz", "tbz2", "tgz", "tlz", "txz", "tzst"};

// Those that mean nothing else. (A jar may be a program that has the archive behind it.)
constexpr std::string_view kArchiveExtensions[] = {"7z", "cpio", "deb", "iso", "rar", "rpm", "tar", "xar", "zip"};

constexpr std::string_view kOpaqueExtensions[] = {
    "aac",  "avi",   "bat",  "bmp",  "c",     "cc",   "class", "cmake", "cpp",   "cs",   "css",        "csv",
    "cxx",  "dex",   "dll",  "dtd",  "dylib", "ent",  "eot",   "exe",   "flac",  "gif",  "go",         "h",
    "hpp",  "hxx",   "icns", "ico",  "ini",   "java", "jpeg",  "jpg",   "js",    "json", "jsx",        "kt",
    "less", "lua",   "m4a",  "m4v",  "md",    "mkv",  "mo",    "mov",   "mp3",   "mp4",  "mpeg",       "mpg",
    "o",    "obj",   "ogg",  "opus", "otf",   "pdf",  "pl",    "pm",    "png",   "po",   "properties", "ps",
    "psd",  "py",    "pyc",  "pyd",  "pyi",   "rb",   "rs",    "rst",   "scss",  "sh",   "so",         "sql",
    "swf",  "swift", "tcl",  "tex",  "tga",   "tif",  "tiff",  "toml",  "tsv",   "tsx",  "ttf",        "txt",
    "vue",  "wasm",  "wav",  "webm", "webp",  "wma",  "wmv",   "woff",  "woff2", "yaml", "yml",
};

// Whether a stream of bzip2 begins with a block or is an empty one.
bool isBzip2(std::string_view bytes) {
  if (bytes.size() < 10 || !bytes.starts_with("BZh") || bytes[3] < '1' || bytes[3] > '9') return false;
  return bytes.substr(4, 6) == "1AY&SY" || bytes.substr(4, 6) == "\x17rE8P\x90"sv;
}

// Whether a stream of compress begins with codes of 9 to 16 bits.
bool isCompress(std::string_view bytes) {
  if (bytes.size() < 3 || !bytes.starts_with("\x1F\x9D"sv)) return false;
  const unsigned bits = static_cast<unsigned char>(bytes[2]) & 0x7Fu;
  return bits >= 9 && bits <= 16;
}

// Whether a cpio archive of 16-bit words, of either byte order, begins with a file of a known type and a name.
bool isBinaryCpio(std::string_view bytes) {
  constexpr std::size_t kHeaderBytes = 26;
  constexpr unsigned kTypes = 0x1556;  // pipe, character device, folder, block device, file, link, socket
  const bool isLittle = bytes.starts_with("\xC7\x71");
  if (bytes.size() < kHeaderBytes || !(isLittle || bytes.starts_with("\x71\xC7"))) return false;
  const auto word = [&](std::size_t at) {
    const auto first = static_cast<unsigned char>(bytes[at]);
    const auto second = static_cast<unsigned char>(bytes[at + 1]);
    return isLittle ? first + 256u * second : 256u * first + second;
  };
  const std::string_view name = bytes.substr(kHeaderBytes, word(20));
  return (kTypes >> (word(6) >> 12) & 1u) != 0 && !name.empty() && name.find('\0') >= name.size() - 1;
}

// Whether a stream of lzma begins with the properties that its writers use and the size of a dictionary.
bool isLzma(std::string_view bytes) { return bytes.starts_with("\x5D\0\0"sv); }

// Whether an lha archive begins with a header, of which the method tells.
bool isLha(std::string_view bytes) {
  if (bytes.size() < 22 || bytes[2] != '-' || bytes[6] != '-' || bytes[3] != 'l') return false;
  return (bytes[4] == 'h' || bytes[4] == 'z') && std::isalnum(static_cast<unsigned char>(bytes[5])) &&
         static_cast<unsigned char>(bytes[20]) <= 3;
}

bool isDisc(std::string_view bytes) { return bytes.size() >= kDiscSignBytes && bytes.substr(32769, 5) == "CD001"; }

bool isZeros(std::string_view bytes) { return bytes.find_first_not_of('\0') == std::string_view::npos; }

// Whether a tar archive can begin like this: behind the name, of 100 bytes, stands the mode in octal digits.
bool mayBeTarHeader(std::string_view bytes) {
  constexpr std::size_t kModeAt = 100;
  if (bytes.size() < kSignBytes) return false;
  const std::string_view mode = bytes.substr(kModeAt, kSignBytes - kModeAt);
  return mode.find_first_not_of("01234567 \0"sv) == std::string_view::npos;
}

// The sum of a header's bytes with spaces in place of the sum itself, which is written in octal digits.
bool isTarHeader(std::string_view bytes) {
  constexpr std::size_t kSumAt = 148;
  constexpr std::size_t kSumBytes = 8;
  if (bytes.size() < kMostSignBytes || bytes[0] == 0 || !mayBeTarHeader(bytes)) return false;
  unsigned long sum = kSumBytes * ' ';
  for (std::size_t i = 0; i < kMostSignBytes; ++i) {
    if (i < kSumAt || i >= kSumAt + kSumBytes) sum += static_cast<unsigned char>(bytes[i]);
  }
  std::size_t at = kSumAt;
  while (at < kSumAt + kSumBytes && bytes[at] == ' ') ++at;
  unsigned long written = 0;
  bool hasDigits = false;
  for (; at < kSumAt + kSumBytes && bytes[at] >= '0' && bytes[at] <= '7'; ++at) {
    written = written * 8 + static_cast<unsigned long>(bytes[at] - '0');
    hasDigits = true;
  }
  return hasDigits && written == sum;
}

// In lower case; empty when there is none.
std::string extensionOf(std::string_view name) {
  const std::size_t dot = name.rfind('.');
  if (dot == std::string_view::npos || name.find('/', dot) != std::string_view::npos) return {};
  std::string extension(name.substr(dot + 1));
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return extension;
}

bool mayEndAs(NameOfContent name, std::string_view extension) { return !name || extensionOf(*name) == extension; }

static_assert(std::is_sorted(std::begin(kXmlExtensions), std::end(kXmlExtensions)));
static_assert(std::is_sorted(std::begin(kCompressions), std::end(kCompressions)));
static_assert(std::is_sorted(std::begin(kTarExtensions), std::end(kTarExtensions)));
static_assert(std::is_sorted(std::begin(kArchiveExtensions), std::end(kArchiveExtensions)));
static_assert(std::is_sorted(std::begin(kOpaqueExtensions), std::end(kOpaqueExtensions)));

template <std::size_t count>
bool isAmong(const std::string_view (&extensions)[count], std::string_view extension) {
  return std::binary_search(std::begin(extensions), std::end(extensions), extension);
}

std::size_t firstNoSpace(std::string_view bytes) {
  return bytes.find_first_not_of(" \t\r\n", bytes.starts_with("\xEF\xBB\xBF") ? 3 : 0);
}

}  // namespace

bool isOpaqueByName(std::string_view name) { return isAmong(kOpaqueExtensions, extensionOf(name)); }

bool promisesMore(std::string_view name) {
  // Some systems put what they note of a file beside it, under its name.
  const std::size_t slash = name.rfind('/');
  if (name.substr(slash == std::string_view::npos ? 0 : slash + 1).starts_with("._")) return false;
  const std::string extension = extensionOf(name);
  if (isAmong(kArchiveExtensions, extension) || isAmong(kTarExtensions, extension)) return true;
  if (!isAmong(kCompressions, extension)) return false;
  const std::string inner = extensionOf(nameOfUnpacked(name));
  return isAmong(kArchiveExtensions, inner) || inner == "xml" || inner == "svg";
}

std::string nameOfUnpacked(std::string_view name) {
  const std::string inner(name.substr(0, name.rfind('.')));
  return isAmong(kTarExtensions, extensionOf(name)) ? inner + ".tar" : inner;
}

bool beginsWithMarkup(std::string_view beginning) {
  const std::size_t first = firstNoSpace(beginning);
  return first != std::string_view::npos && beginning[first] == '<';
}

std::size_t bytesToTell(std::string_view beginning, NameOfContent name) {
  const bool mayBeDisc = mayEndAs(name, "iso") && !beginsWithMarkup(beginning);
  if (mayBeDisc && recognise(beginning, name) == ContentKind::other) return kDiscSignBytes;
  const bool isOpen = mayBeTarHeader(beginning) || firstNoSpace(beginning) == std::string_view::npos;
  return isOpen ? kMostSignBytes : kSignBytes;
}

ContentKind recognise(std::string_view beginning, NameOfContent name) {
  if (isDisc(beginning) && mayEndAs(name, "iso")) return ContentKind::iso9660;
  beginning = beginning.substr(0, kMostSignBytes);
  if (beginning.empty()) return ContentKind::other;
  for (const Sign& sign : kSigns) {
    if (sign.bytes[0] == beginning[0] && beginning.starts_with(sign.bytes)) return sign.kind;
  }
  if (isBzip2(beginning) || isCompress(beginning)) return ContentKind::compressed;
  // A short sign, so the name must say it too.
  if (isLzma(beginning) && (mayEndAs(name, "lzma") || mayEndAs(name, "tlz"))) return ContentKind::compressed;
  if (isBinaryCpio(beginning)) return ContentKind::cpio;
  if (isLha(beginning)) return ContentKind::lha;
  if (isTarHeader(beginning)) return ContentKind::tar;
  const std::string extension = extensionOf(name.value_or(""));
  // An empty header is the end of the archive.
  if (extension == "tar" && beginning.size() == kMostSignBytes && isZeros(beginning)) return ContentKind::tar;
  if (isAmong(kXmlExtensions, extension) && beginsWithMarkup(beginning)) return ContentKind::xml;
  return ContentKind::other;
}

}  // namespace arbtree::tool
