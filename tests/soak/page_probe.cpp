// Loaded into OBS Studio before its own libraries: tells what the open page of a filter shows, and where a text has
// less room than it takes. When the file VANTA_PAGE_PROBE/ask appears, VANTA_PAGE_PROBE/answer is written: one line for
// each text with its kind, a word on what is wrong ("ok", "cut", "outside", "overlap"), the room and what it takes
// (pixels), and the text.
#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QApplication>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QGroupBox>
#include <QtWidgets/QLabel>
#include <QtWidgets/QScrollArea>
#include <QtWidgets/QStyle>
#include <QtWidgets/QStyleOptionComboBox>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

namespace {

constexpr int kTitleSpace = 8;  // left and right of a group's title, with its box where it has one below
constexpr int kBoxSpace = 24;

struct Text {
  QWidget *widget;
  QString text;
  QSize needed;
};

QSize Needed(const QLabel &label) {
  if (!label.wordWrap()) return label.sizeHint();
  int longest = 0;
  for (const QString &word : label.text().split(' '))
    longest = std::max(longest, label.fontMetrics().horizontalAdvance(word));
  return {longest, label.heightForWidth(label.width())};
}

QSize Needed(const QComboBox &box) {
  QStyleOptionComboBox option;
  option.initFrom(&box);
  const QRect field = box.style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, &box);
  int longest = 0;
  for (int i = 0; i < box.count(); ++i)
    longest = std::max(longest, box.fontMetrics().horizontalAdvance(box.itemText(i)));
  return {longest + box.width() - field.width(), box.fontMetrics().height()};
}

QSize Needed(const QGroupBox &group) {
  const int box = group.isCheckable() ? kBoxSpace : 0;
  return {group.fontMetrics().horizontalAdvance(group.title()) + box + kTitleSpace, group.fontMetrics().height()};
}

QList<Text> TextsOf(const QWidget &page) {
  QList<Text> texts;
  for (QWidget *widget : page.findChildren<QWidget *>()) {
    if (!widget->isVisible()) continue;
    if (const auto *label = qobject_cast<QLabel *>(widget)) {
      if (!label->text().isEmpty()) texts.append({widget, label->text(), Needed(*label)});
    } else if (const auto *button = qobject_cast<QAbstractButton *>(widget)) {
      if (!button->text().isEmpty()) texts.append({widget, button->text(), button->minimumSizeHint()});
    } else if (const auto *box = qobject_cast<QComboBox *>(widget)) {
      if (box->count() > 0) texts.append({widget, box->currentText(), Needed(*box)});
    } else if (const auto *group = qobject_cast<QGroupBox *>(widget)) {
      if (!group->title().isEmpty()) texts.append({widget, group->title(), Needed(*group)});
    }
  }
  return texts;
}

const char *Fault(const Text &text, const QList<Text> &all, const QScrollArea &page) {
  if (text.widget->width() < text.needed.width() || text.widget->height() < text.needed.height()) return "cut";
  const int left = text.widget->mapTo(page.viewport(), QPoint(0, 0)).x();
  if (left < 0 || left + text.widget->width() > page.viewport()->width()) return "outside";
  for (const Text &other : all) {
    const bool beside = other.widget != text.widget && other.widget->parent() == text.widget->parent();
    if (beside && other.widget->geometry().intersects(text.widget->geometry())) return "overlap";
  }
  return "ok";
}

void Answer(const std::string &folder) {
  std::ofstream out(folder + "/answer.new");
  for (QWidget *widget : QApplication::allWidgets()) {
    const auto *page = qobject_cast<QScrollArea *>(widget);
    if (page == nullptr || !page->isVisible() || !page->inherits("OBSPropertiesView") || page->widget() == nullptr)
      continue;
    const QList<Text> texts = TextsOf(*page->widget());
    for (const Text &text : texts) {
      out << text.widget->metaObject()->className() << '\t' << Fault(text, texts, *page) << '\t' << text.widget->width()
          << 'x' << text.widget->height() << '\t' << text.needed.width() << 'x' << text.needed.height() << '\t'
          << QString(text.text).replace('\n', ' ').toStdString() << '\n';
    }
  }
  out.close();
  std::filesystem::remove(folder + "/ask");
  std::filesystem::rename(folder + "/answer.new", folder + "/answer");
}

struct Probe {
  Probe() {
    const char *folder = std::getenv("VANTA_PAGE_PROBE");
    if (folder == nullptr) return;
    std::thread([folder = std::string(folder)] {
      for (;;) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        if (!std::filesystem::exists(folder + "/ask") || qApp == nullptr) continue;
        QMetaObject::invokeMethod(
            qApp, [folder] { Answer(folder); }, Qt::BlockingQueuedConnection);
      }
    }).detach();
  }
};

const Probe probe;

}  // namespace
