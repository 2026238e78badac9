// The command line of the tool: options, help, and which command runs.
#include <CLI/CLI.hpp>
#include <charconv>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <exception>
#include <functional>
#include <limits>
#include <string>
#include <system_error>

#include "commands.h"

namespace arbtree::tool {
namespace {

constexpr char kDescription[] =
    "Streams XML, and archives within archives, through a tree of documents in a few megabytes of memory.\n";

constexpr char kFooter[] =
    "\n"
    "Input: XML, and tar, zip, cpio, ar and 7z archives, compressed or not (gzip, bzip2, xz, lzma, lzip, zstd, lz4,\n"
    "compress), so also packages, office documents and e-books. Archives within archives are read as well; only a 7z\n"
    "archive has to be a file of its own. Names that say so (.xml, .svg ... or .txt, .png ...) decide what a member "
    "is,\n"
    "else its content does.\n"
    "\n"
    "Names are shown on one line: bytes that are no UTF-8, control characters, \\ and % as \\xNN.\n"
    "\n"
    "Exit status: 0 all went well; 1 the input or the output failed, or a member was refused; 2 the command line was\n"
    "wrong; 3 a limit was reached; 130 interrupted. What can be read is delivered first, and each failure is one "
    "line:\n"
    "arbtree: FILE: MEMBER: reason, or arbtree: FILE: MEMBER:LINE:COLUMN: reason within XML.\n"
    "\n"
    "Encodings of XML: UTF-8, UTF-16, and all that iconv knows and that begin like ASCII.\n"
    "External entities and external document types are never loaded.\n"
    "\n"
    "Examples:\n"
    "  arbtree ls --long pile.zip\n"
    "  zcat dump.xml.gz | arbtree stats --json -\n"
    "  arbtree xml dump.xml > copy.xml\n"
    "\n"
    "`arbtree COMMAND --help` says more about a command.";

constexpr char kStatsFooter[] =
    "\n"
    "Text counts in nodes: text longer than 16384 UTF-16 units is several nodes. With --json the same figures are\n"
    "one JSON object; \"complete\" is false when the input failed, and the figures then hold for what could be read.\n"
    "\n"
    "Examples:\n"
    "  arbtree stats dump.xml\n"
    "  arbtree stats --json books.epub\n"
    "  zcat dump.xml.gz | arbtree stats -";

constexpr char kXmlFooter[] =
    "\n"
    "The output is UTF-8 and has the same canonical form as the input. Not kept: the document type, with its comments\n"
    "and processing instructions (the defaults of attributes that it declares itself are written out, and the\n"
    "references to the entities that it declares itself are replaced by their text); references to entities that are\n"
    "declared elsewhere or external, for which a warning is given when they stand in text; the encoding; the way\n"
    "character data was written (CDATA sections, character references, quotes, space within tags); line ends and\n"
    "space outside the root element.\n"
    "\n"
    "Examples:\n"
    "  arbtree xml dump.xml > copy.xml\n"
    "  arbtree xml letter.odt --member content.xml | grep title\n"
    "  arbtree xml --max-depth 2000000 deep.xml > copy.xml";

constexpr char kListFooter[] =
    "\n"
    "One line a child document, printed as it is met. --long: kind, mode, size in bytes, time (UTC), path; \"-\" for\n"
    "what the archive does not say. --json: one JSON object a line, with the same fields as far as they are known.\n"
    "Kinds: archive, xml, file, dir, link, hardlink, special.\n"
    "\n"
    "Examples:\n"
    "  arbtree ls pile.tar.gz\n"
    "  arbtree ls --json package.deb | jq -r .path\n"
    "  curl -s https://example.org/pile.zip | arbtree ls --tree -";

constexpr char kTextFooter[] =
    "\n"
    "The text of each document ends with a line end.\n"
    "\n"
    "Examples:\n"
    "  arbtree text letter.odt --member content.xml\n"
    "  arbtree text books.tar | wc -w";

constexpr char kFindFooter[] =
    "\n"
    "Prints PATH:OFFSET for each element: the path of the document and the byte in it at which the element begins "
    "(for\n"
    "a document in another encoding than UTF-8 and UTF-16, the byte of its UTF-8 form).\n"
    "\n"
    "Examples:\n"
    "  arbtree find dump.xml --element page --limit 1\n"
    "  arbtree find site.zip --element a --attribute href=index.html\n"
    "  arbtree find manual.odt --id chapter-3";

constexpr char kExtractFooter[] =
    "\n"
    "XML is written as it was. Archives in the archive become directories of their names. Never written: anything\n"
    "outside DIR, devices, set-user-id bits; such members are refused by name, the rest is extracted, and the exit\n"
    "status is 1. A file appears under its name only when it is complete. Symbolic links are made last, and only "
    "those\n"
    "that stay inside DIR.\n"
    "\n"
    "Examples:\n"
    "  arbtree extract pile.zip -C out\n"
    "  arbtree extract package.deb -C out --member 'data.tar.*/usr/share/doc/*'\n"
    "  arbtree extract backup.tar.xz -C out --keep-archives";

constexpr char kDuplicatesFooter[] =
    "\n"
    "Prints a line for each element that is there more than once: how often, and the places as PATH:OFFSET. Memory\n"
    "grows with the different elements of that name, of which one copy each is kept.\n"
    "\n"
    "Examples:\n"
    "  arbtree dups dump.xml --element record\n"
    "  arbtree dups books.zip --element p";

// The library's own check of numbers takes -1 for a very large one.
template <typename Number>
CLI::Validator atLeastOne() {
  return CLI::Validator(
      [](const std::string& text) {
        Number number = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
        if (error == std::errc() && end == text.data() + text.size() && number > 0) return std::string();
        return "\"" + text + "\" is not a number from 1 to " + std::to_string(std::numeric_limits<Number>::max());
      },
      "");
}

template <typename Number>
void addNumber(CLI::App& command, const char* option, Number& value, const char* help) {
  command.add_option(option, value, help)->type_name("N")->check(atLeastOne<Number>())->capture_default_str();
}

void addCommonOptions(CLI::App& command, CommonOptions& options) {
  command.add_option("FILE", options.file, "XML or an archive; - is standard input")->type_name("")->required();
  Limits& limits = options.limits;
  addNumber(command, "--max-depth", limits.maxDepth, "refuse elements nested deeper than this");
  addNumber(command, "--max-nesting", limits.maxNesting, "refuse archives nested deeper than this");
  addNumber(command, "--max-members", limits.maxMembers, "stop after so many members of archives");
  addNumber(command, "--max-bytes", limits.maxBytes, "stop when so many bytes have been unpacked");
  addNumber(command, "--max-ratio", limits.maxRatio,
            "stop when more than 64 MiB unpack to more than this many times what was read");
  addNumber(command, "--max-amplification", limits.maxAmplification,
            "refuse entities that expand to more than 8 MiB and this many times what was read");
  addNumber(command, "--chunk-bytes", options.chunkBytes, "bytes of nodes made before they are consumed");
  command.add_flag("-q,--quiet", options.quiet, "show no progress bar");
}

void addMember(CLI::App& command, std::string& member, const char* help) {
  command.add_option("--member", member, help)->type_name("PATH");
}

class CommandLine {
 public:
  CommandLine() {
    app_.set_version_flag("--version", "arbtree " ARBTREE_VERSION, "print the version and exit");
    app_.set_help_flag("-h,--help", "print this help and exit");
    app_.require_subcommand(0, 1);
    app_.get_formatter()->label("SUBCOMMAND", "COMMAND");
    app_.get_formatter()->label("Subcommands", "Commands");
    app_.footer(kFooter);
    addStats();
    addXml();
    addText();
    addList();
    addFind();
    addExtract();
    addDuplicates();
  }

  // The exit status of the command that ran, or of the command line itself.
  int run(int argc, char** argv) {
    try {
      app_.parse(argc, argv);
    } catch (const CLI::Success& help) {
      return app_.exit(help);
    } catch (const CLI::ParseError& error) {
      return usageError(error.what());
    }
    return run_ ? run_() : usageError("a command is required: ls, text, xml, find, extract, dups or stats");
  }

 private:
  static int usageError(const char* problem) {
    std::fprintf(stderr, "arbtree: %s\nRun `arbtree --help` for how to use it.\n", problem);
    return kUsageError;
  }

  // A command with the options that all have; `work` is what it does.
  template <typename Options>
  CLI::App& add(const char* name, const char* description, const char* footer, Options& options,
                int (*work)(const Options&)) {
    CLI::App& command = *app_.add_subcommand(name, description);
    addCommonOptions(command, options.common);
    command.footer(footer);
    command.callback([this, &options, work] { run_ = [&options, work] { return work(options); }; });
    return command;
  }

  void addStats() {
    CLI::App& command = add("stats", "Counts what an input consists of, and says what streaming it took.", kStatsFooter,
                            statsOptions_, runStats);
    command.add_flag("--json", statsOptions_.json, "print one JSON object");
  }

  void addXml() {
    CLI::App& command = add("xml", "Writes an XML document out again.", kXmlFooter, xmlOptions_, runXml);
    addMember(command, xmlOptions_.member, "the document, by its path as ls shows it");
  }

  void addText() {
    CLI::App& command = add("text", "Prints the text of XML documents.", kTextFooter, textOptions_, runText);
    addMember(command, textOptions_.member, "only this document, by its path as ls shows it");
  }

  void addList() {
    CLI::App& command = add("ls", "Lists what is in an input, at every depth.", kListFooter, listOptions_, runList);
    CLI::App& form = *command.add_option_group("form")->require_option(0, 1);
    const auto addForm = [&](const char* option, ListOptions::Form value, const char* help) {
      form.add_flag_callback(
          option, [this, value] { listOptions_.form = value; }, help);
    };
    addForm("--tree", ListOptions::Form::indented, "names, indented by the archives that they are in");
    addForm("--json", ListOptions::Form::json, "one JSON object a line");
    addForm("--long", ListOptions::Form::withDetails, "with kind, mode, size and time");
  }

  void addFind() {
    CLI::App& command = add("find", "Finds elements.", kFindFooter, findOptions_, runFind);
    command.add_option("--element", findOptions_.element, "elements of this name, as it is written")->type_name("NAME");
    command.add_option("--id", findOptions_.id, "the first element of a document whose xml:id or id is this")
        ->type_name("ID");
    command
        .add_option_function<std::string>(
            "--attribute",
            [this](const std::string& text) {
              const std::size_t equals = text.find('=');
              if (equals == 0 || equals == std::string::npos) {
                throw CLI::ValidationError("--attribute", "\"" + text + "\" is not of the form NAME=VALUE");
              }
              findOptions_.attributeName = text.substr(0, equals);
              findOptions_.attributeValue = text.substr(equals + 1);
            },
            "only elements with this attribute")
        ->type_name("NAME=VALUE");
    command.add_option("--limit", findOptions_.limit, "stop reading after so many")
        ->type_name("N")
        ->check(atLeastOne<std::uint64_t>());
  }

  void addExtract() {
    CLI::App& command =
        add("extract", "Writes what is in an archive below a directory.", kExtractFooter, extractOptions_, runExtract);
    command.add_option("-C,--directory", extractOptions_.directory, "the directory, made if it is not there")
        ->type_name("DIR")
        ->required();
    command.add_option("--member", extractOptions_.pattern, "only members whose paths match, with * and ?")
        ->type_name("PATTERN");
    command.add_flag("--keep-archives", extractOptions_.keepArchives, "write archives in the archive as they are");
    command.add_flag("--fold-names", extractOptions_.foldNames,
                     "refuse names that differ from earlier ones only by case or normal form");
  }

  void addDuplicates() {
    CLI::App& command = add("dups", "Finds equal elements.", kDuplicatesFooter, duplicatesOptions_, runDuplicates);
    command.add_option("--element", duplicatesOptions_.element, "the elements' name as it is written")
        ->type_name("NAME")
        ->required();
  }

  CLI::App app_{kDescription, "arbtree"};
  std::function<int()> run_;
  StatsOptions statsOptions_;
  XmlOptions xmlOptions_;
  TextOptions textOptions_;
  ListOptions listOptions_;
  FindOptions findOptions_;
  ExtractOptions extractOptions_;
  DuplicatesOptions duplicatesOptions_;
};

}  // namespace
}  // namespace arbtree::tool

int main(int argc, char** argv) {
  using namespace arbtree::tool;
  // A reader that goes away shows as a failed write.
  std::signal(SIGPIPE, SIG_IGN);
  // Names are bytes, which libarchive gives unchanged where the locale is UTF-8; which one the user has plays no part.
  std::setlocale(LC_CTYPE, "C.UTF-8");
  try {
    return CommandLine().run(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "arbtree: %s\n", error.what());
    return kFailure;
  }
}
