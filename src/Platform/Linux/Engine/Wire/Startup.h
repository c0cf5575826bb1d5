#pragma once

/// What the program and its engine process agree on before they speak.
namespace vorlin::engine {

/// Descriptors that the engine process is started with; no others but three to /dev/null.
inline constexpr int controlDescriptor = 3;
/// The model folder, opened as a path only.
inline constexpr int folderDescriptor = 4;

/// Exit codes.
inline constexpr int exitWrongStart = 64;
inline constexpr int exitUnconfined = 77;

} // namespace vorlin::engine
