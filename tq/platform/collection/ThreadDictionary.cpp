#include "tq/platform/collection/ThreadDictionary.h"

namespace tq {

MutableDictionary& threadDictionary() {
  thread_local Ref<MutableDictionary> dictionary = MutableDictionary::dictionary();
  return *dictionary;
}

}  // namespace tq
