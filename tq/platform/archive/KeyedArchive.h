#pragma once
// Keyed archiving: objects that encode themselves under string keys, written
// in the standard keyed-archive format (a binary property list with
// "$archiver", "$version", "$top" and "$objects"), so that archives interoperate
// with other readers and writers of that format.
//
// Strings, numbers, data, dates, UUIDs, arrays, dictionaries, sets and the
// null marker are archived under the class names other readers expect; a
// library class archives itself by implementing `Coding` and registering a
// decoder for its archive class name.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tq/platform/value/Data.h"
#include "tq/platform/collection/Error.h"
#include "tq/platform/object/Object.h"

namespace tq {

class KeyedArchiver;
class KeyedUnarchiver;

/// Implemented by classes that archive themselves.
class Coding {
 public:
  virtual ~Coding() = default;
  /// The class name written into the archive ("$classname").
  virtual std::string archiveClassName() const = 0;
  /// The archived superclasses, nearest first, that "$classes" lists after
  /// the class itself (the root class is added by the archiver). A reader
  /// that does not know the class decodes the nearest one it knows.
  virtual std::vector<std::string> archiveSuperclassNames() const { return {}; }
  virtual void encodeWithCoder(KeyedArchiver& coder) const = 0;
};

class KeyedArchiver {
 public:
  virtual ~KeyedArchiver() = default;
  virtual void encodeObject(const Id& object, const std::string& key) = 0;
  virtual void encodeBool(bool value, const std::string& key) = 0;
  virtual void encodeInt64(std::int64_t value, const std::string& key) = 0;
  virtual void encodeDouble(double value, const std::string& key) = 0;
  virtual void encodeBytes(const void* bytes, std::size_t length, const std::string& key) = 0;
  /// Records a failure (for instance a field that cannot be archived); the
  /// archive then fails with this reason.
  virtual void failWithReason(const std::string& reason) = 0;

  /// The archive of a root object; nil and an error when some object in the
  /// graph can be neither archived natively nor through `Coding`.
  static Ref<Data> archivedDataWithRootObject(const Id& root, Ref<Error>* error = nullptr);
  /// Writes the archive atomically; false when the graph cannot be archived
  /// or the file cannot be written.
  static bool archiveRootObjectToFile(const Id& root, const std::string& path, Ref<Error>* error = nullptr);
};

class KeyedUnarchiver {
 public:
  virtual ~KeyedUnarchiver() = default;
  virtual bool containsValueForKey(const std::string& key) const = 0;
  /// Nil when absent.
  virtual Id decodeObject(const std::string& key) = 0;
  virtual bool decodeBool(const std::string& key) = 0;
  virtual std::int64_t decodeInt64(const std::string& key) = 0;
  virtual double decodeDouble(const std::string& key) = 0;
  virtual Ref<Data> decodeBytes(const std::string& key) = 0;
  /// Records that the archive is malformed (a decoder found a field missing
  /// or of the wrong type); unarchiving then fails with this reason.
  virtual void failWithReason(const std::string& reason) = 0;

  /// Builds an object of a registered class from the coder.
  using Decoder = std::function<Id(KeyedUnarchiver& coder)>;
  /// Registers the decoder for an archive class name (thread-safe; the
  /// latest registration wins).
  static void registerClass(const std::string& archiveClassName, Decoder decoder);

  /// The root object; nil and an error for a malformed archive or an
  /// unknown class. Never crashes on hostile input.
  static Id unarchiveObjectWithData(const Data& data, Ref<Error>* error = nullptr);
  static Id unarchiveObjectWithFile(const std::string& path, Ref<Error>* error = nullptr);
};

/// The error domain of archive failures; codes below.
inline constexpr const char* KeyedArchiveErrorDomain = "TQKeyedArchiveErrorDomain";
enum KeyedArchiveErrorCode : std::int64_t {
  KeyedArchiveReadCorruptError = 4864,   // not an archive, or a malformed one; the description says what
  KeyedArchiveUnknownClassError = 4865,  // an object of a class no decoder is registered for
  KeyedArchiveInvalidValueError = 4866,  // archiving met an object that can be neither archived nor coded
  KeyedArchiveFileError = 4867,          // the archive file cannot be read or written
};

}  // namespace tq
