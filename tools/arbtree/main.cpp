// The command line of the tool: options, help, and which command runs. Exit status: 0 all went well, 1 the input or the
// output failed, 2 the command line was wrong.
#include <CLI/CLI.hpp>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <exception>
#include <limits>
#include <string>
#include <system_error>

#include "commands.h"

namespace arbtree::tool {
namespace {

constexpr int kFailure = 1;
constexpr int kUsageError = 2;

constexpr char kDescription[] = "Streams XML documents of any size through a tree in a few megabytes of memory.\n";

constexpr char kFooter[] =
    "\n"
    "Exit status: 0 all went well; 1 the input or the output failed; 2 the command line was wrong.\n"
    "A failing input is reported as arbtree: FILE:LINE:COLUMN: reason, after all that came before the failure.\n"
    "\n"
    "Encodings: UTF-8, UTF-16, and all that iconv knows and that begin like ASCII.\n"
    "External entities and external document types are never loaded.\n"
    "\n"
    "Examples:\n"
    "  arbtree stats dump.xml\n"
    "  zcat dump.xml.gz | arbtree stats --json -\n"
    "  arbtree xml dump.xml > copy.xml\n"
    "\n"
    "`arbtree COMMAND --help` says more about a command.";

constexpr char kStatsFooter[] =
    "\n"
    "Text counts in nodes: text longer than 16384 UTF-16 units is several nodes. With --json the same figures are\n"
    "one JSON object; \"complete\" is false when the input failed, and the figures then hold for what came before.\n"
    "\n"
    "Examples:\n"
    "  arbtree stats dump.xml\n"
    "  arbtree stats --json dump.xml\n"
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
    "  arbtree xml utf16.xml | grep title\n"
    "  arbtree xml --max-depth 2000000 deep.xml > copy.xml";

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

void addCommonOptions(CLI::App& command, CommonOptions& options) {
  command.add_option("FILE", options.file, "the XML document; - is standard input")->type_name("")->required();
  command.add_option("--max-depth", options.limits.maxDepth, "refuse elements nested deeper than this")
      ->type_name("N")
      ->check(atLeastOne<std::uint64_t>())
      ->capture_default_str();
  command.add_option("--chunk-bytes", options.limits.chunkBytes, "bytes of nodes made before they are consumed")
      ->type_name("N")
      ->check(atLeastOne<std::uint32_t>())
      ->capture_default_str();
  command.add_flag("-q,--quiet", options.quiet, "show no progress bar");
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
    if (stats_->parsed()) return runStats(statsOptions_);
    if (xml_->parsed()) return runXml(xmlOptions_);
    return usageError("a command is required: stats or xml");
  }

 private:
  static int usageError(const char* problem) {
    std::fprintf(stderr, "arbtree: %s\nRun `arbtree --help` for how to use it.\n", problem);
    return kUsageError;
  }

  void addStats() {
    stats_ = app_.add_subcommand("stats", "Counts the nodes of a document, and says what streaming it took.");
    addCommonOptions(*stats_, statsOptions_.common);
    stats_->add_flag("--json", statsOptions_.json, "print one JSON object");
    stats_->footer(kStatsFooter);
  }

  void addXml() {
    xml_ = app_.add_subcommand("xml", "Writes a document out again.");
    addCommonOptions(*xml_, xmlOptions_.common);
    xml_->footer(kXmlFooter);
  }

  CLI::App app_{kDescription, "arbtree"};
  CLI::App* stats_ = nullptr;
  CLI::App* xml_ = nullptr;
  StatsOptions statsOptions_;
  XmlOptions xmlOptions_;
};

}  // namespace
}  // namespace arbtree::tool

int main(int argc, char** argv) {
  using namespace arbtree::tool;
  // A reader that goes away shows as a failed write.
  std::signal(SIGPIPE, SIG_IGN);
  try {
    return CommandLine().run(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "arbtree: %s\n", error.what());
    return kFailure;
  }
}
