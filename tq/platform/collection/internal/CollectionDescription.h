#pragma once
// The old-style multi-line layout that lists and sets share: an opening
// bracket, one element per line separated by ",", and a closing bracket, every
// line indented by four spaces per nesting level (the opening one included,
// so that a list nested in a dictionary reads "key =     (").

#include "tq/platform/object/Object.h"
#include "tq/platform/value/String.h"

namespace tq {

class ElementListDescription {
 public:
  ElementListDescription(const char* open, const Id& locale, std::uint64_t level)
      : locale_(locale), level_(level), text_(make<MutableString>()) {
    text_->appendUTF8(std::string(4 * level, ' '));
    text_->appendUTF8(open);
  }

  void add(const Id& element) {
    text_->appendUTF8(empty_ ? "\n" : ",\n");
    text_->appendUTF8(std::string(4 * (level_ + 1), ' '));
    text_->appendString(*describe(element, locale_, level_ + 1));
    empty_ = false;
  }

  /// An empty collection still puts its closing bracket on a line of its own.
  Ref<String> finish(const char* close) {
    text_->appendUTF8("\n");
    text_->appendUTF8(std::string(4 * level_, ' '));
    text_->appendUTF8(close);
    return text_;
  }

 private:
  Id locale_;
  std::uint64_t level_;
  Ref<MutableString> text_;
  bool empty_ = true;
};

}  // namespace tq
