#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vorlin {

// What can be said about selection targets without asking the display server: pure functions
// over names and bytes that other programs sent.

/// How a target's data travels: X11 gives each piece of data a type and an element size, which
/// readers look at and which therefore must come back as they were.
struct TargetForm {
    std::string target;
    std::string type;
    /// Bits of one element: 8, 16 or 32.
    std::uint8_t format = 8;

    bool operator==(const TargetForm&) const = default;
};

/// The name under which a pasteboard item keeps data of `form`: the target alone where the data
/// are bytes of the type asked for, as nearly all are; else target, type and format, with unit
/// separators (0x1f) between them. Nothing for a name that cannot be kept so.
std::optional<std::string> pasteboardType(const TargetForm& form);

/// The opposite. Nothing for a name that `pasteboardType` never gives.
std::optional<TargetForm> targetForm(std::string_view pasteboardType);

/// Whether `target` is data worth keeping: not a question about the owner, not a command to it,
/// not a handle that only it can use.
bool isKeptTarget(std::string_view target);

/// Whether data of `type` mean the same to everybody, for as long as they are kept: a number of
/// a window or a pixmap does not.
bool isKeptType(std::string_view type);

/// In which order targets are asked for: the lower first. Text comes first, then what is likely
/// to be small, then what the owner must compute.
int readingOrder(std::string_view target);

/// The 32-bit numbers in `bytes`, in this machine's byte order, at most `most` of them. An
/// incomplete number at the end is left out.
std::vector<std::uint32_t> numbersIn(std::span<const std::uint8_t> bytes, std::size_t most);

/// `text` (UTF-8) in ISO 8859-1: typographic quotes and dashes become plain ones, other
/// characters that are not in it a question mark, so that old programs get the words at least.
std::vector<std::uint8_t> latin1Of(std::string_view text, bool* exact = nullptr);

} // namespace vorlin
