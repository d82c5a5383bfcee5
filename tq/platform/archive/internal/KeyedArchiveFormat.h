#pragma once
// Keys and class names of the standard keyed-archive format, shared by the
// archiver and the unarchiver. They are format constants: other readers and
// writers of such archives expect exactly these texts. Not part of the public
// interface.

#include <cstdint>

namespace tq::archive_format {

inline constexpr const char* ArchiverKey = "$archiver";
inline constexpr const char* ArchiverName = "NSKeyedArchiver";
inline constexpr const char* VersionKey = "$version";
inline constexpr std::int64_t Version = 100000;
inline constexpr const char* TopKey = "$top";
inline constexpr const char* RootKey = "root";
inline constexpr const char* ObjectsKey = "$objects";
inline constexpr const char* NullEntry = "$null";  // $objects[0]; UID 0 means nil
inline constexpr const char* ClassKey = "$class";
inline constexpr const char* ClassNameKey = "$classname";
inline constexpr const char* ClassesKey = "$classes";

// Fields of the built-in classes.
inline constexpr const char* ObjectsField = "NS.objects";
inline constexpr const char* KeysField = "NS.keys";
inline constexpr const char* TimeField = "NS.time";
inline constexpr const char* UUIDBytesField = "NS.uuidbytes";
inline constexpr const char* StringField = "NS.string";
inline constexpr const char* DataField = "NS.data";

// Class names of the built-in classes.
inline constexpr const char* RootClass = "NSObject";
inline constexpr const char* ArrayClass = "NSArray";
inline constexpr const char* MutableArrayClass = "NSMutableArray";
inline constexpr const char* DictionaryClass = "NSDictionary";
inline constexpr const char* MutableDictionaryClass = "NSMutableDictionary";
inline constexpr const char* SetClass = "NSSet";
inline constexpr const char* MutableSetClass = "NSMutableSet";
inline constexpr const char* DateClass = "NSDate";
inline constexpr const char* UUIDClass = "NSUUID";
inline constexpr const char* NullClass = "NSNull";
inline constexpr const char* StringClass = "NSString";
inline constexpr const char* MutableStringClass = "NSMutableString";
inline constexpr const char* DataClass = "NSData";
inline constexpr const char* MutableDataClass = "NSMutableData";

}  // namespace tq::archive_format
