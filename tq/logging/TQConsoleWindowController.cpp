#include "tq/logging/TQConsoleWindowController.h"

#include <cctype>
#include <cstdio>

#include "tq/platform/dispatch/DispatchQueue.h"
#include "tq/platform/dispatch/RunLoop.h"

namespace tq {
namespace {

std::u16string lowered(std::string_view utf8) { return String::fromUTF8(utf8)->lowercaseString()->utf16(); }

std::vector<std::string_view> splitLines(std::string_view text) {
  // A final line break ends the last line; it does not start an empty one.
  std::vector<std::string_view> lines;
  std::size_t from = 0;
  while (from < text.size()) {
    std::size_t nl = text.find('\n', from);
    if (nl == std::string_view::npos) {
      lines.push_back(text.substr(from));
      break;
    }
    std::string_view line = text.substr(from, nl - from);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    lines.push_back(line);
    from = nl + 1;
  }
  return lines;
}

std::string numbered(std::size_t index, std::string_view line) {
  char number[32];
  std::snprintf(number, sizeof number, "%6zu : ", index);
  return number + std::string(line);
}

}  // namespace

void TQConsoleWindowController::setLogger(Ref<TQLogger> logger) {
  logger_ = std::move(logger);
  if (logger_) logger_->setDelegate(std::static_pointer_cast<TQLoggerDelegate>(selfAs<TQConsoleWindowController>()));
}

Ref<String> TQConsoleWindowController::logText() const {
  if (logger_) return logger_->consoleLog();
  if (provider_) return provider_();
  return nullptr;
}

std::string TQConsoleWindowController::displayText() const {
  std::string text;
  for (std::size_t i = 0; i < shown_.size(); ++i) {
    if (i) text += '\n';
    text += shown_[i];
  }
  text += '\n';
  return text;
}

void TQConsoleWindowController::search(std::string_view text) {
  searchField_.assign(text);
  std::string candidate = String::fromUTF8(text)->length() < MinimumFilterLength ? std::string() : std::string(text);
  if (candidate == filterString_) return;
  filterString_ = std::move(candidate);
  updateConsoleDisplay();
}

void TQConsoleWindowController::filterOnString(std::string_view text) { search(text); }

void TQConsoleWindowController::clearDisplay(bool optionModifierAlone) {
  if (optionModifierAlone) {
    resetDisplay();
    return;
  }
  auto text = logText();
  displayStartIndex_ = text ? text->length() : 0;
  updateConsoleDisplay();
}

void TQConsoleWindowController::resetDisplay() {
  displayStartIndex_ = 0;
  updateConsoleDisplay();
}

void TQConsoleWindowController::okButton() { visible_ = false; }

void TQConsoleWindowController::windowWillClose() {
  if (auto target = delegate_.lock()) target->consoleWindowWillClose(*this);
}

void TQConsoleWindowController::parseFilter() {
  filter_ = Filter();
  std::size_t from = 0;
  const std::string& f = filterString_;
  while (from < f.size()) {
    while (from < f.size() && std::isspace(static_cast<unsigned char>(f[from]))) ++from;
    std::size_t end = from;
    while (end < f.size() && !std::isspace(static_cast<unsigned char>(f[end]))) ++end;
    if (end > from) {
      std::string_view term(f.data() + from, end - from);
      if (term.size() >= 2 && term.front() == '+') {
        filter_.required.push_back(lowered(term.substr(1)));
      } else {
        filter_.plain.push_back(lowered(term));
      }
    }
    from = end;
  }
}

bool TQConsoleWindowController::keeps(const std::string& entry) const {
  if (filterString_.empty()) return true;
  std::u16string text = lowered(entry);
  for (const auto& term : filter_.required) {
    if (text.find(term) == std::u16string::npos) return false;
  }
  if (filter_.plain.empty()) return true;
  for (const auto& term : filter_.plain) {
    if (text.find(term) != std::u16string::npos) return true;
  }
  return false;
}

std::vector<std::string> TQConsoleWindowController::walk(std::string_view text, bool appending) {
  std::vector<std::string> kept;
  std::string current;
  bool open = false;
  auto close = [&] {
    if (open && keeps(current)) kept.push_back(std::move(current));
    open = false;
    current.clear();
  };
  for (std::string_view line : splitLines(text)) {
    if (!line.empty() && line.front() == '\t') {
      if (open) {
        current += "\n\t";
        current += line;
      } else if (appending && !lastEntry_.empty()) {
        // The continuation of the last entry of an earlier chunk (a read
        // can end between an entry's lines). Shown already, it grows in
        // place; hidden, it is taken up again and judged with its new lines.
        if (lastEntryShown_ && !shown_.empty()) {
          lastEntry_ += "\n\t" + std::string(line);
          shown_.back() += "\n\t" + std::string(line);
          if (onAppend_) onAppend_("\t" + std::string(line) + "\n");
        } else {
          current = lastEntry_ + "\n\t" + std::string(line);
          open = true;
        }
      }
      continue;
    }
    close();
    ++lineIdx_;
    current = numbered(lineIdx_, line);
    open = true;
  }
  // The last entry closes at the end of the text (of the chunk, when
  // following); it is remembered, kept or not, for continuation lines that
  // come with the next chunk.
  if (open) {
    bool keep = keeps(current);
    lastEntry_ = current;
    if (keep) kept.push_back(std::move(current));
    lastEntryShown_ = keep;
  }
  return kept;
}

void TQConsoleWindowController::updateConsoleDisplay() {
  parseFilter();
  auto text = logText();
  std::string visible;
  if (text && displayStartIndex_ < text->length()) visible = text->substringFromIndex(displayStartIndex_)->utf8();
  lineIdx_ = 0;
  lastEntryShown_ = false;
  lastEntry_.clear();
  shown_ = walk(visible, false);
  if (onReplace_) onReplace_(displayText());
}

void TQConsoleWindowController::loggerAppendedString(const Ref<String>& appended) {
  if (!appended) return;
  if (!RunLoop::isMainThread()) {
    auto self = selfAs<TQConsoleWindowController>();
    DispatchQueue::main()->async([self, appended] { self->handleAppended(appended->utf8()); });
    return;
  }
  handleAppended(appended->utf8());
}

void TQConsoleWindowController::handleAppended(const std::string& text) {
  if (filter_.plain.empty() && filter_.required.empty() && !filterString_.empty()) parseFilter();
  auto added = walk(text, true);
  for (auto& entry : added) {
    if (onAppend_) onAppend_(entry + "\n");
    shown_.push_back(std::move(entry));
  }
}

}  // namespace tq
