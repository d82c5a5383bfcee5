#pragma once
// The change set of a dictionary brought up to date from entries read
// elsewhere (a settings file re-read after another process wrote it): the
// receiver takes the new entries, nested dictionaries are updated in place,
// and the answer names what changed, nested keys joined with ".".
//
// Kept as it has always behaved: a key that the entries no longer hold is
// dropped from the receiver but not named in the answer (a removal has no
// value to record), so a reader of the answer alone never learns of removals.

#include "tq/platform/collection/Dictionary.h"

namespace tq::TQFoundation {

/// `changesForUpdatingDictionaryWithEntries:`. A nil `entries` changes nothing
/// and answers the empty dictionary. Runs under the receiver's monitor.
Ref<Dictionary> changesForUpdatingDictionaryWithEntries(MutableDictionary& receiver, const Dictionary* entries);

}  // namespace tq::TQFoundation
