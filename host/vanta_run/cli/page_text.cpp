#include "cli/page_text.h"

#include <algorithm>
#include <cctype>
#include <sstream>

namespace vanta_run {
namespace {

constexpr size_t kTextColumn = 26;
constexpr size_t kWidth = 110;
constexpr size_t kWidestName = 28;  // of an item, whose text begins behind it

std::string Spaces(size_t count) {
  return std::string(count, ' ');
}

// "-i, --input FILE"
std::string HeadOf(const OptionRow &row) {
  std::string head = row.letter != 0 ? "  -" + std::string(1, row.letter) + ", " : "      ";
  head += "--" + row.name;
  return row.value.empty() ? head : head + " " + row.value;
}

// `head`, and the text in a column of its own: behind it, or below where there is no room.
std::string Entry(const std::string &head, const std::string &text, size_t column) {
  std::string entry = head;
  bool first = head.size() < column;
  if (!first) entry += "\n";
  for (const std::string &line : Wrapped(text, kWidth - column)) {
    entry += (first ? Spaces(column - head.size()) : Spaces(column)) + line + "\n";
    first = false;
  }
  return entry;
}

std::string Paragraph(const std::string &text) {
  std::string lines;
  for (const std::string &line : Wrapped(text, kWidth - 2)) lines += "  " + line + "\n";
  return lines;
}

std::string Terms(const std::vector<OptionItem> &terms, size_t indent) {
  size_t column = 0;
  for (const OptionItem &term : terms) column = std::max(column, std::min(term.name.size(), kWidestName) + 2);
  std::string text;
  for (const OptionItem &term : terms) text += Entry(Spaces(indent) + term.name, term.text, indent + column);
  return text;
}

// A text as troff takes it.
std::string Escaped(const std::string &text) {
  std::string safe;
  for (const char letter : text) {
    if (letter == '\\') {
      safe += "\\e";
    } else if (letter == '-') {
      safe += "\\-";
    } else {
      safe += letter;
    }
  }
  // A line that begins so would be a command.
  return !safe.empty() && (safe.front() == '.' || safe.front() == '\'') ? "\\&" + safe : safe;
}

std::string Bold(const std::string &text) {
  return "\\fB" + Escaped(text) + "\\fR";
}

std::string ManualTerm(const OptionItem &term) {
  return ".TP\n" + Bold(term.name) + "\n" + Escaped(term.text) + "\n";
}

std::string ManualRow(const OptionRow &row) {
  std::string text = ".TP\n";
  if (row.letter != 0) text += Bold("-" + std::string(1, row.letter)) + ", ";
  text += Bold("--" + row.name);
  if (!row.value.empty()) text += " \\fI" + Escaped(row.value) + "\\fR";
  text += "\n" + Escaped(row.text) + "\n";
  if (row.items.empty()) return text;
  text += ".RS\n";
  for (const OptionItem &item : row.items) text += ManualTerm(item);
  return text + ".RE\n";
}

std::string ManualSynopsis(const CommandPage &page) {
  std::string text = ".nf\n";
  for (const std::string &line : page.synopsis) text += Escaped(line) + "\n";
  return text + ".fi\n";
}

std::string ManualDescription(const CommandPage &page) {
  std::string text;
  for (const std::string &paragraph : page.description)
    text += (text.empty() ? "" : ".PP\n") + Escaped(paragraph) + "\n";
  for (const OptionItem &term : page.terms) text += ManualTerm(term);
  return text;
}

}  // namespace

std::vector<std::string> Wrapped(const std::string &text, size_t width) {
  std::vector<std::string> lines;
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    if (lines.empty() || lines.back().size() + 1 + word.size() > width) {
      lines.push_back(word);
    } else {
      lines.back() += " " + word;
    }
  }
  return lines;
}

std::string HelpText(const CommandPage &page) {
  std::string text = "NAME\n  " + page.name + " - " + page.summary + "\n\nSYNOPSIS\n";
  for (const std::string &line : page.synopsis) text += "  " + line + "\n";
  text += "\nDESCRIPTION\n";
  for (size_t i = 0; i < page.description.size(); ++i) text += (i > 0 ? "\n" : "") + Paragraph(page.description[i]);
  if (!page.terms.empty()) text += "\n" + Terms(page.terms, 4);
  for (const OptionSection &section : page.sections) {
    text += "\n" + section.title + "\n";
    for (const OptionRow &row : section.rows) {
      text += Entry(HeadOf(row), row.text, kTextColumn) + Terms(row.items, kTextColumn);
    }
    if (!section.remark.empty()) text += Paragraph(section.remark);
  }
  text += "\nEXIT STATUS\n";
  for (const OptionItem &code : page.exit_codes) {
    text += Entry(Spaces(5 - std::min<size_t>(5, code.name.size())) + code.name, code.text, 7);
  }
  return text;
}

std::string ManualText(const CommandPage &page, const std::vector<CommandPage> &others) {
  std::string title = page.name;
  std::transform(title.begin(), title.end(), title.begin(), [](unsigned char letter) { return std::toupper(letter); });
  std::string text = ".TH " + title + " 1 \"\" \"vanta_filter " VANTA_VERSION "\" \"User Commands\"\n";
  text += ".SH NAME\n" + Escaped(page.name) + " \\- " + Escaped(page.summary) + "\n";
  text += ".SH SYNOPSIS\n" + ManualSynopsis(page);
  text += ".SH DESCRIPTION\n" + ManualDescription(page);
  for (const OptionSection &section : page.sections) {
    text += ".SH \"" + section.title + "\"\n";
    for (const OptionRow &row : section.rows) text += ManualRow(row);
    if (!section.remark.empty()) text += ".PP\n" + Escaped(section.remark) + "\n";
  }
  for (const CommandPage &other : others) {
    text += ".SH \"" + Escaped(other.name) + "\"\n" + ManualSynopsis(other) + ".PP\n" + ManualDescription(other);
    for (const OptionSection &section : other.sections) {
      for (const OptionRow &row : section.rows) text += ManualRow(row);
    }
  }
  text += ".SH \"EXIT STATUS\"\n";
  for (const OptionItem &code : page.exit_codes) text += ManualTerm(code);
  return text;
}

}  // namespace vanta_run
