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
    {"\x1F\x9D"sv, ContentKind::compressed},
    {"BZh"sv, ContentKind::compressed},
    {"\xFD"
     "7zXZ\0"sv,
     ContentKind::compressed},
    {"\x28\xB5\x2F\xFD"sv, ContentKind::compressed},
    {"\x04\x22\x4D\x18"sv, ContentKind::compressed},
    {"LZIP\1"sv, ContentKind::compressed},
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

constexpr std::string_view kOpaqueExtensions[] = {
    "avi", "bmp",  "c",    "cc",  "class", "cpp",  "css",  "csv",  "flac", "gif",   "h",    "hpp",
    "ico", "java", "jpeg", "jpg", "js",    "json", "md",   "mo",   "mp3",  "mp4",   "o",    "ogg",
    "otf", "pdf",  "pl",   "pm",  "png",   "po",   "ps",   "py",   "pyc",  "rb",    "rs",   "rst",
    "sh",  "so",   "tiff", "ttf", "txt",   "wav",  "webm", "webp", "woff", "woff2", "yaml", "yml",
};

// The sum of a header's bytes with spaces in place of the sum itself, which is written in octal digits.
bool isTarHeader(std::string_view bytes) {
  constexpr std::size_t kSumAt = 148;
  constexpr std::size_t kSumBytes = 8;
  if (bytes.size() < kSignBytes || bytes[0] == 0) return false;
  unsigned long sum = kSumBytes * ' ';
  for (std::size_t i = 0; i < kSignBytes; ++i) {
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

template <std::size_t count>
bool isAmong(const std::string_view (&extensions)[count], const std::string& extension) {
  return std::find(std::begin(extensions), std::end(extensions), extension) != std::end(extensions);
}

bool beginsWithMarkup(std::string_view bytes) {
  if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
  const std::size_t first = bytes.find_first_not_of(" \t\r\n");
  return first != std::string_view::npos && bytes[first] == '<';
}

}  // namespace

bool isOpaqueByName(std::string_view name) { return isAmong(kOpaqueExtensions, extensionOf(name)); }

ContentKind recognise(std::string_view beginning, std::string_view name) {
  for (const Sign& sign : kSigns) {
    if (beginning.starts_with(sign.bytes)) return sign.kind;
  }
  if (isTarHeader(beginning)) return ContentKind::tar;
  if (isAmong(kXmlExtensions, extensionOf(name)) && beginsWithMarkup(beginning)) return ContentKind::xml;
  return ContentKind::other;
}

}  // namespace arbtree::tool
