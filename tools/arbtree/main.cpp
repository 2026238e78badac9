// The command line of the tool: options, help, and which command runs. The exit statuses are those of commands.h.
#include <CLI/CLI.hpp>
#include <cerrno>
#include <charconv>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <functional>
#include <iostream>
#include <limits>
#include <string>
#include <system_error>

#include "commands.h"
#include "interrupt.h"
#include "member_name.h"
#include "problems.h"

namespace arbtree::tool {
namespace {

constexpr char kDescription[] =
    R"(Lists, searches, reads and extracts what is in XML files and in archives within archives, of any size, in a few
megabytes of memory.
)";

constexpr char kFooter[] = R"(
FILE is an XML file or an archive (tar, zip, cpio, ar, 7z, cab, rar, xar, lha, iso; compressed with gzip,
bzip2, xz, zstd, lz4, lzip, lzma or compress), and so a package, a Java archive, an office document or an e-book; - is
standard input. Archives within archives are opened too. Formats are told by content, but members with the names of
plain texts, programs, pictures, sounds and fonts are not looked into. A member's path is the way to it through the
archives, as `arbtree ls` prints it: bytes that are no text are shown as C escapes (\n, \377), a backslash as \\.

Exit status: 0 all went well; 1 the input or the output failed, or a member was refused; 2 the command line was
wrong; 3 a limit was passed. What could be read is delivered. Each failure is one line on standard error:
arbtree: FILE: MEMBER: reason, with :LINE:COLUMN behind an XML member.

Encodings of XML: UTF-8, UTF-16, and all that iconv knows and that begin like ASCII.
External entities and external document types are never loaded.

Examples:
  arbtree ls package.deb
  arbtree stats dump.xml
  zcat dump.xml.gz | arbtree xml - > copy.xml
  arbtree find --element title --limit 1 books.zip
  arbtree extract -C folder backup.tar.xz

`arbtree COMMAND --help` says more about a command.)";

constexpr char kLsFooter[] = R"(
Archives are forests, XML members are trees, everything else (folders and links too) is a file. Plain lines are
paths. --long: kind, mode, size in bytes (- when it is not known before the content), time of change in UTC, path
and the target of a link. --json: the same as one JSON object a line.

Examples:
  arbtree ls package.deb
  arbtree ls --long backup.tar.xz
  curl -s https://example.org/all.tar.gz | arbtree ls --tree -
  arbtree ls --json books.zip | jq -r 'select(.kind == "tree") | .path')";

constexpr char kTextFooter[] = R"(
The output is UTF-8. The text of a member that does not end with a line end gets one.

Examples:
  arbtree text report.docx --member word/document.xml
  arbtree text books.zip | grep -i whale)";

constexpr char kFindFooter[] = R"(
One line for each element: PATH:OFFSET, the member and the byte at which the start tag begins in it (for encodings
other than UTF-8, UTF-16, ASCII and Latin-1: in the member converted to UTF-8). What comes from an entity is where the
reference to it is. With --json one object a line.
With --limit nothing is read beyond the chunk of content that holds the last match.

Examples:
  arbtree find --element title books.zip
  arbtree find --element a --attribute id=x7 --limit 1 dump.xml)";

constexpr char kExtractFooter[] = R"(
XML members are written as they are in the archive, nested archives as folders of their names. Nothing is written
outside the folder. Refused by name, with exit status 1, while the rest is extracted: names that are absolute or
have "..", a backslash, a drive letter, a zero byte or an empty part; symbolic links that lead outside, hard links to
anything but a file in the folder, devices. Set-user-id, set-group-id and sticky bits are dropped; times are restored.
A file takes its name, in place of an earlier file, when it is complete.

Examples:
  arbtree extract -C folder package.deb
  arbtree extract -C folder --member '*.xml' backup.tar.xz
  arbtree extract -C folder --keep-archives --refuse-aliases all.zip)";

constexpr char kDupsFooter[] = R"(
One line for each place: the number of its set and PATH:OFFSET. Equal means the same name, attributes and children.
Elements of the name within others count too. With --json a set is one array a line. Memory grows with the different
elements of the name.

Examples:
  arbtree dups --element record dump.xml
  arbtree dups --element path --json drawings.zip)";

constexpr char kStatsFooter[] = R"(
Every member is read to its end, so that damage shows. Text counts in nodes: text longer than 16384 bytes of UTF-8
is several nodes. With --json the same figures are one JSON object; "complete" is false when the input failed,
and the figures then hold for what could be read.

Examples:
  arbtree stats dump.xml
  arbtree stats --json books.zip
  zcat dump.xml.gz | arbtree stats -)";

constexpr char kXmlFooter[] = R"(
The output is UTF-8 and has the same canonical form as the input. Not kept: the document type, with its comments
and processing instructions (the defaults of attributes that it declares itself are written out, and the
references to the entities that it declares itself are replaced by their text); references to entities that are
declared elsewhere or external, for which a warning is given (but not for those in an attribute that itself comes from
an entity or is a default); the encoding; the way character data was written
(CDATA sections, character references, quotes, space within tags); line ends and space outside the root element.

Examples:
  arbtree xml dump.xml > copy.xml
  arbtree xml --member word/document.xml report.docx
  arbtree xml --max-depth 2000000 deep.xml > copy.xml)";

// The option library itself would take -1 for a very large number and 010 for eight.
template <typename Number>
CLI::Validator atLeastOne() {
  return CLI::Validator(
      [](std::string& text) {
        Number number = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
        if (error == std::errc() && end == text.data() + text.size() && number > 0) {
          text = std::to_string(number);
          return std::string();
        }
        return "\"" + text + "\" is not a number from 1 to " + std::to_string(std::numeric_limits<Number>::max());
      },
      "");
}

// An empty name matches nothing; one comes from a variable of a script that was never set.
CLI::Validator notEmpty() {
  return CLI::Validator([](const std::string& text) { return text.empty() ? "it is empty" : ""; }, "");
}

template <typename Number>
void addLimit(CLI::App& command, const char* name, Number& limit, const char* meaning) {
  command.add_option(name, limit, meaning)
      ->type_name("N")
      ->transform(atLeastOne<Number>())
      ->capture_default_str()
      ->group("Limits");
}

void addCommonOptions(CLI::App& command, CommonOptions& options) {
  command.add_option("FILE", options.file, "the XML file or archive; - is standard input")->type_name("")->required();
  command.add_flag("-q,--quiet", options.quiet, "show no progress bar");
  Limits& limits = options.limits;
  addLimit(command, "--max-bytes", limits.maxBytes, "stop when more is unpacked, at all levels together");
  addLimit(command, "--max-members", limits.maxMembers, "stop when there are more members, at all levels together");
  addLimit(command, "--max-nesting", limits.maxNesting, "open no archives or compressions nested deeper");
  addLimit(command, "--max-ratio", limits.maxRatio, "stop when more is unpacked for each byte of FILE read");
  addLimit(command, "--ratio-threshold", limits.ratioThreshold, "bytes unpacked before the ratio counts");
  addLimit(command, "--max-depth", limits.maxDepth, "refuse elements nested deeper than this");
  addLimit(command, "--max-names", limits.maxNames, "refuse more different names of elements and their attributes");
  addLimit(command, "--max-amplification", limits.maxAmplification, "refuse entities that amplify XML more than this");
  addLimit(command, "--amplification-threshold", limits.amplificationThreshold,
           "bytes of XML, entities replaced, before the amplification counts");
  addLimit(command, "--chunk-bytes", limits.chunkBytes, "bytes of nodes made before they are consumed");
}

class CommandLine {
 public:
  CommandLine() {
    app_.set_version_flag("--version", "arbtree " ARBTREE_VERSION, "print the version and exit");
    app_.set_help_flag("-h,--help", "print this help and exit");
    app_.require_subcommand(0, 1);
    app_.get_formatter()->label("SUBCOMMAND", "COMMAND");
    app_.get_formatter()->label("Positionals", "Argument");
    app_.get_formatter()->label("REQUIRED", "(required)");
    app_.get_formatter()->label("Excludes", "not with");
    app_.footer(kFooter);
    using Line = CommandLine;
    addCommand("ls", "Lists the members of an archive and of the archives in it.", kLsFooter, ls_, runLs, &Line::addLs);
    addCommand("text", "Writes the text of XML documents.", kTextFooter, text_, runText, &Line::addText);
    addCommand("xml", "Writes an XML document out again.", kXmlFooter, xml_, runXml, &Line::addXml);
    addCommand("find", "Finds elements in XML documents.", kFindFooter, find_, runFind, &Line::addFind);
    addCommand("extract", "Writes the members of archives below a folder.", kExtractFooter, extract_, runExtract,
               &Line::addExtract);
    addCommand("dups", "Finds equal elements in XML documents.", kDupsFooter, dups_, runDups, &Line::addDups);
    addCommand("stats", "Counts members and nodes, and says what streaming them took.", kStatsFooter, stats_, runStats,
               &Line::addStats);
  }

  // The exit status of the command that ran, or of the command line itself.
  int run(int argc, char** argv) {
    try {
      app_.parse(argc, argv);
    } catch (const CLI::Success& help) {
      return print(help);
    } catch (const CLI::ExtrasError& error) {
      const std::string first = app_.remaining(true).front();
      const bool isCommand = app_.get_subcommands().empty() && !first.starts_with('-');
      return usageError(isCommand ? "no command is called " + first : error.what());
    } catch (const CLI::ParseError& error) {
      return usageError(error.what());
    }
    if (!chosen_) return usageError("a command is required: ls, text, xml, find, extract, dups or stats");
    return chosen_();
  }

 private:
  static int usageError(const std::string& problem) {
    std::fprintf(stderr, "arbtree: %s\nRun `arbtree --help` for how to use it.\n", shown(problem).c_str());
    return kUsageError;
  }

  int print(const CLI::Success& help) {
    const int status = app_.exit(help);
    if (std::cout.flush()) return status;
    std::fprintf(stderr, "arbtree: standard output: %s\n", std::strerror(errno));
    return kInputFailed;
  }

  // The options are added when the command is met: those of all commands took 4 % of a run on a small file.
  template <typename Options>
  void addCommand(const char* name, const char* meaning, const char* footer, Options& options,
                  int (*command)(const Options&), void (CommandLine::*addOptions)(CLI::App&)) {
    CLI::App& added = *app_.add_subcommand(name, meaning);
    added.group("Commands");
    added.footer(footer);
    added.preparse_callback([this, &added, &options, addOptions](std::size_t) {
      addCommonOptions(added, options.common);
      (this->*addOptions)(added);
    });
    added.callback([this, &options, command] { chosen_ = [&options, command] { return command(options); }; });
  }

  void addLs(CLI::App& ls) {
    const auto form = [&](const char* flag, ListForm value, const char* meaning) {
      return ls.add_flag_callback(
          flag, [this, value] { ls_.form = value; }, meaning);
    };
    CLI::Option* const tree = form("--tree", ListForm::tree, "print names, indented by nesting of archives");
    CLI::Option* const json = form("--json", ListForm::json, "print one JSON object a line")->excludes(tree);
    form("--long", ListForm::details, "print kind, mode, size, time and path")->excludes(tree)->excludes(json);
  }

  void addText(CLI::App& text) {
    text.add_option("--member", text_.member, "only of the member with this path")
        ->type_name("PATH")
        ->check(notEmpty());
  }

  void addXml(CLI::App& xml) {
    xml.add_option("--member", xml_.member, "the member of an archive to write")->type_name("PATH")->check(notEmpty());
  }

  void addFind(CLI::App& find) {
    find.add_option("--element", find_.element, "name of the elements, prefix included")
        ->type_name("NAME")
        ->required()
        ->check(notEmpty());
    find.add_option("--id", find_.id, "the first in each document whose xml:id or id is this")
        ->type_name("ID")
        ->check(notEmpty());
    find.add_option("--attribute", find_.attribute, "an attribute that they have")
        ->type_name("NAME=VALUE")
        ->check(CLI::Validator(
            [](const std::string& text) {
              const std::size_t equals = text.find('=');
              return equals == 0 || equals == std::string::npos ? "\"" + text + "\" is not NAME=VALUE" : "";
            },
            ""));
    find.add_option("--limit", find_.limit, "stop after so many")
        ->type_name("N")
        ->transform(atLeastOne<std::uint64_t>());
    find.add_flag("--json", find_.json, "print one JSON object a line");
  }

  void addExtract(CLI::App& extract) {
    extract.add_option("-C,--directory", extract_.folder, "the folder, which exists")->type_name("DIR")->required();
    extract
        .add_option("--member", extract_.pattern,
                    "only members whose path matches as in a shell, and all below them; * also matches /")
        ->type_name("PATTERN")
        ->check(notEmpty());
    extract.add_flag("--keep-archives", extract_.keepArchives, "write nested archives as files");
    extract.add_flag("--refuse-aliases", extract_.refuseAliases,
                     "refuse names that differ from an earlier one only by case or normal form");
  }

  void addDups(CLI::App& dups) {
    dups.add_option("--element", dups_.element, "name of the elements, prefix included")
        ->type_name("NAME")
        ->required()
        ->check(notEmpty());
    dups.add_flag("--json", dups_.json, "print one JSON array a line");
  }

  void addStats(CLI::App& stats) { stats.add_flag("--json", stats_.json, "print one JSON object"); }

  CLI::App app_{kDescription, "arbtree"};
  std::function<int()> chosen_;
  LsOptions ls_;
  ContentOptions text_;
  ContentOptions xml_;
  FindOptions find_;
  ExtractOptions extract_;
  DupsOptions dups_;
  StatsOptions stats_;
};

}  // namespace
}  // namespace arbtree::tool

int main(int argc, char** argv) {
  using namespace arbtree::tool;
  // A reader that goes away, and a file that may not grow, show as failed writes.
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  catchInterrupts();
  // Names of members are UTF-8 or plain bytes, wherever the user is.
  if (!std::setlocale(LC_CTYPE, "C.UTF-8")) std::setlocale(LC_CTYPE, "");
  // Zip archives have local times; without this the C library looks at the file of the time zone for each of them.
  setenv("TZ", ":/etc/localtime", 0);
  int status = kInputFailed;
  try {
    status = CommandLine().run(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "arbtree: %s\n", error.what());
  }
  endIfInterrupted();
  return status;
}
