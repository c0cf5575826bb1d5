#include "Platform/Linux/Pasteboard/Offering.h"

#include <algorithm>
#include <set>
#include <string_view>
#include <utility>

namespace vorlin {

namespace {

SharedBytes shared(std::vector<std::uint8_t> bytes)
{
    return std::make_shared<const std::vector<std::uint8_t>>(std::move(bytes));
}

SharedBytes sharedText(std::string_view text)
{
    return shared({text.begin(), text.end()});
}

} // namespace

bool Offering::secret() const
{
    return std::any_of(entries.begin(), entries.end(), [](const Entry& entry) {
        return entry.form.target == secrecyHint &&
               std::string_view(reinterpret_cast<const char*>(entry.bytes->data()),
                                entry.bytes->size()) == "secret";
    });
}

Offering textOffering(const std::string& text)
{
    bool exact = false;
    const SharedBytes utf8 = sharedText(text);
    const SharedBytes latin1 = shared(latin1Of(text, &exact));
    // In compound text ISO 8859-1 stands as it is; UTF-8 stands between two escapes.
    const SharedBytes compound = exact ? latin1 : sharedText("\x1b%G" + text + "\x1b%@");
    const std::string type = exact ? "STRING" : "UTF8_STRING";
    return {{
                {{"UTF8_STRING", "UTF8_STRING"}, utf8},
                {{"text/plain;charset=utf-8", "text/plain;charset=utf-8"}, utf8},
                {{"text/plain", "text/plain"}, utf8},
                {{"STRING", "STRING"}, latin1},
                {{"TEXT", type}, exact ? latin1 : utf8},
                {{"COMPOUND_TEXT", "COMPOUND_TEXT"}, compound},
            },
            false};
}

Offering secretOffering(const std::string& text)
{
    Offering offering = textOffering(text);
    offering.forPasteOnly = true;
    offering.entries.push_back(
        {{std::string(secrecyHint), std::string(secrecyHint)}, sharedText("secret")});
    return offering;
}

Offering restoredOffering(const PasteboardSnapshot& contents)
{
    Offering offering;
    std::set<std::string> targets;
    for (const PasteboardItem& item : contents) {
        for (const auto& [type, bytes] : item) {
            auto form = targetForm(type);
            if (!form || !isKeptTarget(form->target) || bytes.size() % (form->format / 8U) != 0) {
                continue;
            }
            if (targets.insert(form->target).second) {
                offering.entries.push_back({std::move(*form), shared(bytes)});
            }
        }
    }
    std::stable_sort(offering.entries.begin(), offering.entries.end(),
                     [](const Offering::Entry& one, const Offering::Entry& other) {
                         return readingOrder(one.form.target) < readingOrder(other.form.target);
                     });
    return offering;
}

PasteboardSnapshot snapshotOf(const Offering& offering)
{
    PasteboardItem item;
    for (const Offering::Entry& entry : offering.entries) {
        if (auto type = pasteboardType(entry.form)) {
            item.emplace(std::move(*type), *entry.bytes);
        }
    }
    return item.empty() ? PasteboardSnapshot{} : PasteboardSnapshot{std::move(item)};
}

} // namespace vorlin
