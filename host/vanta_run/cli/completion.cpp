#include "cli/completion.h"

namespace vanta_run {
namespace {

std::string LastWord(const std::string &name) {
  return name.substr(name.rfind(' ') + 1);
}

std::string Names(const OptionRow &row) {
  return (row.letter != 0 ? "-" + std::string(1, row.letter) + "|" : "") + "--" + row.name;
}

std::string Joined(const std::vector<std::string> &words) {
  std::string text;
  for (const std::string &word : words) text += (text.empty() ? "" : " ") + word;
  return text;
}

std::string Offer(const OptionRow &row) {
  switch (row.completes) {
    case Completes::kFiles:
      return "compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- \"$current\")";
    case Completes::kFolders:
      return "compopt -o filenames; mapfile -t COMPREPLY < <(compgen -d -- \"$current\")";
    case Completes::kWords:
      // A word that ends in "=" waits for its number.
      return "compopt -o nospace; mapfile -t COMPREPLY < <(compgen -W '" + Joined(row.words) + "' -- \"$current\")";
    case Completes::kNothing:
      break;
  }
  return ":";
}

// Offers the values of the option before the cursor and ends there.
std::string ValueCases(const CommandPage &page) {
  std::string text = "  case $before in\n";
  for (const OptionSection &section : page.sections) {
    for (const OptionRow &row : section.rows) {
      if (!row.value.empty()) text += "    " + Names(row) + ") " + Offer(row) + "; return ;;\n";
    }
  }
  return text + "  esac\n";
}

std::string OptionWords(const CommandPage &page) {
  std::vector<std::string> words;
  for (const OptionSection &section : page.sections) {
    for (const OptionRow &row : section.rows) words.push_back("--" + row.name);
  }
  return Joined(words);
}

}  // namespace

std::string CompletionScript(const CommandPage &page, const std::vector<CommandPage> &others) {
  std::string text = "# bash completion of " + page.name + "; made by " + page.name +
                     " --print-completion\n"
                     "_vanta_run() {\n"
                     "  local current=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} words\n"
                     "  COMPREPLY=()\n";
  std::string commands;
  for (const CommandPage &other : others) {
    const std::string word = LastWord(other.name);
    commands += " " + word;
    text += "  if ((COMP_CWORD > 1)) && [[ ${COMP_WORDS[1]} == " + word + " ]]; then\n" + ValueCases(other) +
            "  mapfile -t COMPREPLY < <(compgen -W '" + OptionWords(other) +
            "' -- \"$current\")\n"
            "  return\n"
            "  fi\n";
  }
  text += ValueCases(page) + "  words='" + OptionWords(page) +
          "'\n"
          "  ((COMP_CWORD > 1)) || words+='" +
          commands +
          "'\n"
          "  mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$current\")\n"
          "}\n"
          "complete -F _vanta_run " +
          page.name + "\n";
  return text;
}

}  // namespace vanta_run
