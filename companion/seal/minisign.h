// Signing with the program minisign(1). Only minisign reads the secret key and asks for its
// password.
#pragma once

#include <string>

namespace kvl {

/// Returns whether the program can be started.
bool HasMinisign();
/// The message when it cannot be started.
inline constexpr char kNoMinisign[] = "the program that signs is not on PATH: minisign; install it";

/// Returns the text of a signature file for `text`, made with the secret key in the file `key`. The
/// same text and key give the same signature. Sends the output of minisign to standard error. Works
/// in a new directory below $TMPDIR or /tmp, and removes it. A signal that ends this process ends
/// minisign first, if all other threads have it blocked.
///
/// Throws std::runtime_error when the directory cannot be made, when minisign fails, and when it
/// writes something other than a signature; and what OpenDirectory throws.
std::string SignWithMinisign(const std::string& key, const std::string& text);

}  // namespace kvl
