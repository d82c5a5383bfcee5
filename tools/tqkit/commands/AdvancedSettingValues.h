#pragma once
// Values of advanced settings on the command line: VALUE words read into a
// setting's kind (refused with the forms the kind allows), and values and
// choice labels shown as the list prints them.

#include <string>

#include "tq/settings/PreferenceTypeSwift.h"
#include "tq/settings/TQFoundationDefaults.h"

namespace tqkit {

/// VALUE as the preference's kind takes it; raises FailureException naming
/// the allowed forms ("'x' is not an integer (a whole number such as 3)").
/// A choice takes one of its values or one of its labels.
tq::Id advancedValueFromText(const tq::PreferenceTypeSwift& preference, const std::string& text);

/// Writes through the preference's typed writer; nil removes.
void writeAdvancedValue(tq::TQDefaultsInstance& defaults, const tq::PreferenceTypeSwift& preference,
                        const tq::Id& value);
/// The value the preference's typed reader reads (the stored value of the
/// kind, else the preference's default); nil when there is none.
tq::Id readAdvancedValue(tq::TQDefaultsInstance& defaults, const tq::PreferenceTypeSwift& preference);

/// The value as a property list keeps it (a colour as its Json text).
tq::Id storedForm(const tq::Id& value);
/// A value in a table cell: strings raw, colours in their Json text, other
/// values as one-line JSON; "" for nil.
std::string shownValue(const tq::Id& value);
/// The labels of a choice, "1=One, 2=Two", in the order of their values.
std::string choiceLabels(const tq::PreferenceTypeSwift& preference);
/// The same as JSON: [{"value": 1, "label": "One"}, ...], or nil.
tq::Id choiceLabelsObject(const tq::PreferenceTypeSwift& preference);

}  // namespace tqkit
