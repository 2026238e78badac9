// `arbtree ls`: the child documents of an input, one a line.
#include <cinttypes>
#include <cstdio>
#include <ctime>

#include "commands.h"
#include "json_string.h"
#include "member_name.h"
#include "session.h"

namespace arbtree::tool {
namespace {

const char* kindName(const ArbForestChild& child) {
  switch (child.kind) {
    case ARB_CHILD_FOREST:
      return "forest";
    case ARB_CHILD_TREE:
      return "tree";
    default:
      return "file";
  }
}

// As in "-rwxr-xr-x".
std::string modeString(const MemberFacts& facts) {
  constexpr char kLetters[] = "rwxrwxrwx";
  std::string text(10, '-');
  switch (facts.mode & AE_IFMT) {
    case AE_IFDIR:
      text[0] = 'd';
      break;
    case AE_IFLNK:
      text[0] = 'l';
      break;
    case AE_IFCHR:
      text[0] = 'c';
      break;
    case AE_IFBLK:
      text[0] = 'b';
      break;
    case AE_IFIFO:
      text[0] = 'p';
      break;
    case AE_IFSOCK:
      text[0] = 's';
      break;
    default:
      if (facts.link == LinkKind::hard) text[0] = 'h';
  }
  for (unsigned i = 0; i < 9; ++i) {
    if (facts.mode & (0400u >> i)) text[i + 1] = kLetters[i];
  }
  if (facts.mode & 04000) text[3] = text[3] == 'x' ? 's' : 'S';
  if (facts.mode & 02000) text[6] = text[6] == 'x' ? 's' : 'S';
  if (facts.mode & 01000) text[9] = text[9] == 'x' ? 't' : 'T';
  return text;
}

std::string timeString(const MemberFacts& facts) {
  const auto time = static_cast<std::time_t>(facts.time);
  std::tm parts;
  if (!facts.hasTime || !gmtime_r(&time, &parts)) return "-";
  char text[40];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
  return text;
}

struct Listing {
  Session& session;
  const ListForm form;
  std::size_t depth = 0;

  bool enter(ArbForestChild& child) {
    session.out.append(line(child));
    if (child.kind == ARB_CHILD_FOREST) ++depth;
    return session.out.isGood();
  }
  void leave(ArbForest&) { --depth; }

  std::string line(ArbForestChild& child) const {
    switch (form) {
      case ListForm::plain:
        return shown(pathOf(child)) + "\n";
      case ListForm::tree:
        return std::string(2 * depth, ' ') + ownName(child) + "\n";
      case ListForm::details:
        return details(child);
      case ListForm::json:
        return json(child);
    }
    return {};
  }

  static std::string ownName(ArbForestChild& child) {
    const std::string path = pathOf(child);
    if (!child.parent || !child.parent->child.parent) return shown(path);
    return shown(std::string_view(path).substr(pathOf(child.parent->child).size() + 1));
  }

  static std::string details(ArbForestChild& child) {
    const MemberFacts facts = factsOf(child);
    const std::string size = facts.size < 0 ? "-" : std::to_string(facts.size);
    char columns[96];
    std::snprintf(columns, sizeof columns, "%-6s %s %12s %20s ", kindName(child), modeString(facts).c_str(),
                  size.c_str(), timeString(facts).c_str());
    const std::string target = bytesOf(child, kMemberLink);
    const char* const arrow = facts.link == LinkKind::symbolic ? " -> " : " link to ";
    return columns + shown(pathOf(child)) + (target.empty() ? "" : arrow + shown(target)) + "\n";
  }

  static std::string json(ArbForestChild& child) {
    const MemberFacts facts = factsOf(child);
    std::string text =
        std::string("{\"kind\": \"") + kindName(child) + "\", \"path\": " + jsonString(shown(pathOf(child)));
    text += ", \"size\": " + (facts.size < 0 ? "null" : std::to_string(facts.size));
    const std::string time = timeString(facts);
    text += ", \"time\": " + (time == "-" ? "null" : jsonString(time));
    text += ", \"mode\": " + jsonString(modeString(facts));
    const std::string target = bytesOf(child, kMemberLink);
    if (!target.empty()) text += ", \"link\": " + jsonString(shown(target));
    return text + "}\n";
  }
};

}  // namespace

int runLs(const LsOptions& options) {
  Wishes wishes;
  wishes.inputIsXml = false;
  // A list of paths does not say which files are XML.
  wishes.parsesXml = options.form == ListForm::details || options.form == ListForm::json;
  wishes.wantsNodes = [](const std::string&) { return false; };
  // Each member is shown before anything more is read.
  wishes.oneByOne = true;
  Session session(options.common, std::move(wishes), true);
  session.input.beforeReading([&session] { session.out.flush(); });
  Listing listing{session, options.form};
  session.document.walkMembers(listing);
  return session.finish();
}

}  // namespace arbtree::tool
