#include "cli/parse_arguments.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <numeric>

#include "common/failure.h"
#include "common/standard_output.h"

namespace vanta_run {
namespace {

// Of one option. The parser's own way to say "any number" takes one word only.
constexpr int kMostWords = 1'000'000;

// Letters to insert, remove or replace on the way from one text to the other.
size_t Distance(const std::string &from, const std::string &to) {
  std::vector<size_t> row(to.size() + 1);
  std::iota(row.begin(), row.end(), size_t{0});
  for (size_t i = 0; i < from.size(); ++i) {
    size_t diagonal = row[0];
    row[0] = i + 1;
    for (size_t k = 0; k < to.size(); ++k) {
      const size_t replaced = diagonal + (from[i] == to[k] ? 0 : 1);
      diagonal = row[k + 1];
      row[k + 1] = std::min({replaced, row[k] + 1, diagonal + 1});
    }
  }
  return row[to.size()];
}

// The option that was probably meant, or an empty text.
std::string Nearest(const CommandPage &page, const std::string &word) {
  constexpr size_t kNear = 3;
  const std::string given = word.substr(0, word.find('='));
  std::string nearest;
  size_t least = kNear;
  for (const OptionSection &section : page.sections) {
    for (const OptionRow &row : section.rows) {
      const std::string name = "--" + row.name;
      // A beginning is nearer than any misspelling.
      const size_t distance = given.size() > 3 && name.rfind(given, 0) == 0 ? 0 : Distance(given, name);
      if (distance < least) {
        least = distance;
        nearest = name;
      }
    }
  }
  return nearest;
}

[[noreturn]] void RefuseWord(const CommandPage &page, const std::string &word) {
  const std::string help = "see " + page.name + " --help";
  if (word.rfind('-', 0) != 0) {
    const bool takes_files = page.sections.front().rows.front().several;
    throw Failure(kExitUsage, word, "not an option", takes_files ? "give the file as --input " + word : help);
  }
  const std::string meant = Nearest(page, word);
  throw Failure(kExitUsage, word, "unknown option", meant.empty() ? help : "did you mean " + meant + "? " + help);
}

[[noreturn]] void RefuseForm(const CommandPage &page, const std::string &text) {
  const bool disallowed = text.find("disallowed") != std::string::npos;
  std::string option = text.substr(0, text.find_first_of(": "));
  if (option.rfind('-', 0) != 0) option = "--" + option;
  throw Failure(kExitUsage, option, disallowed ? "takes no value" : "its value is missing",
                "see " + page.name + " --help");
}

CLI::Option *AddTo(CLI::App &parser, const OptionRow &row) {
  const std::string names = (row.letter != 0 ? "-" + std::string(1, row.letter) + "," : "") + "--" + row.name;
  if (row.value.empty()) return parser.add_flag(names)->disable_flag_override();
  CLI::Option *option = parser.add_option(names, [](const CLI::results_t &) { return true; });
  option->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  if (row.several) option->expected(1, kMostWords);
  return option;
}

}  // namespace

std::vector<GivenOption> ParseArguments(const CommandPage &page, const std::vector<std::string> &arguments) {
  CLI::App parser(page.summary, page.name);
  parser.set_help_flag();  // the table has its own
  parser.allow_extras();   // what is unknown is refused below, in this program's words
  std::vector<std::pair<const OptionRow *, CLI::Option *>> options;
  for (const OptionSection &section : page.sections) {
    for (const OptionRow &row : section.rows) options.emplace_back(&row, AddTo(parser, row));
  }
  try {
    parser.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
  } catch (const CLI::ParseError &error) {
    RefuseForm(page, error.what());
  }
  std::vector<GivenOption> given;
  for (const auto &[row, option] : options) {
    if (option->count() == 0) continue;
    GivenOption one{row, {""}};
    if (!row->value.empty()) one.values = option->results();
    if (!row->value.empty() && !row->many && !row->several) one.values = {one.values.back()};
    given.push_back(std::move(one));
  }
  const bool answers =
      std::any_of(given.begin(), given.end(), [](const GivenOption &one) { return one.row->answer != nullptr; });
  const std::vector<std::string> unknown = parser.remaining();
  if (!unknown.empty() && !answers) RefuseWord(page, unknown.front());
  return given;
}

bool TakeValues(const std::vector<GivenOption> &given) {
  for (const GivenOption &one : given) {
    if (one.row->answer == nullptr) continue;
    PutOnStandardOutput(one.row->answer());
    return true;
  }
  for (const GivenOption &one : given) {
    for (const std::string &value : one.values) one.row->read(value);
  }
  return false;
}

}  // namespace vanta_run
