#pragma once
// The string and plural tables of one bundle, read once and kept: the chain
// of tables a lookup searches, per set of user languages and table name.

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "tq/platform/bundle/Bundle.h"
#include "tq/platform/collection/Dictionary.h"

namespace tq::detail {

using LocalizedTable = Bundle::LocalizedTable;
using TableChain = std::vector<LocalizedTable>;

class StringTables {
 public:
  /// The tables a lookup of `table` searches, in order, for the user's
  /// languages that `signature` stands for.
  std::shared_ptr<const TableChain> chain(const Bundle& bundle, const std::string& signature, std::string_view table);

 private:
  Ref<Dictionary> parsed(const std::string& path, bool plural);
  std::shared_ptr<const TableChain> build(const Bundle& bundle, const std::string& signature, std::string_view table,
                                          bool& kept);

  std::mutex mutex_;
  // The chain asked for last: an add-on asks for the same table in the same
  // languages again and again, and comparing two short texts costs less than
  // building a key and hashing it.
  std::string lastSignature_, lastTable_;
  std::shared_ptr<const TableChain> lastChain_;
  std::unordered_map<std::string, std::shared_ptr<const TableChain>> chains_;  // signature + "\n" + table
  std::map<std::string, Ref<Dictionary>> files_;                              // by path; nil when unreadable
};

/// The user's language variables as one text (the snapshot's, or made in
/// `storage`), which changes exactly when the
/// order of localisations may change (the snapshot's while one is alive).
const std::string& languageSignature(std::string& storage);
/// The language variables as read now.
std::string computeSignature();
/// The signature of this thread's live `Bundle::LanguageSnapshot`, if any.
const std::string*& snapshotSignaturePointer();

}  // namespace tq::detail
