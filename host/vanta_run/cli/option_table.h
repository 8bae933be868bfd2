// How a command's options are described. One description serves the parser, the help, the manual page and the shell's
// completion.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace vanta_run {

// What a shell offers for an option's value.
enum class Completes { kNothing, kFiles, kFolders, kWords };

// A name that stands in an option's value, and what it does.
struct OptionItem {
  std::string name, text;
};

struct OptionRow {
  std::string name;        // without the dashes
  char letter = 0;         // of the short form; 0: none
  std::string value = {};  // what stands for the value in the help; empty: the option takes none
  std::string text = {};
  std::vector<OptionItem> items = {};
  // Takes one value, "" where the option has none. Throws Failure.
  std::function<void(const std::string &)> read = {};
  // In place of everything else: the text that is shown.
  std::function<std::string()> answer = {};
  bool many = false;       // may be given more than once; else the last one counts
  bool several = false;    // takes all words up to the next option
  bool of_beauty = false;  // means nothing without the beauty filter
  bool writes = false;     // its value names files that the run makes
  Completes completes = Completes::kNothing;
  std::vector<std::string> words = {};  // for kWords
};

struct OptionSection {
  std::string title;
  std::vector<OptionRow> rows;
  std::string remark = {};  // below them
};

// One command with its own help.
struct CommandPage {
  std::string name, summary;
  std::vector<std::string> synopsis;
  std::vector<std::string> description;  // paragraphs
  std::vector<OptionItem> terms;         // explained below the description
  std::vector<OptionSection> sections;
  std::vector<OptionItem> exit_codes;
};

}  // namespace vanta_run
