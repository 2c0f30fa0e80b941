// Signing with the program minisign(1), which alone sees the secret key and asks for its password.
#pragma once

#include <string>

namespace kvl {

/// Whether there is a program of that name to be started; what to say when there is none.
bool HasMinisign();
inline constexpr char kNoMinisign[] = "minisign is needed to sign, and is not there";

/// The text of a signature file for `text`, made with the secret key in the file `key`. The same
/// text and key give the same signature. What minisign says goes to standard error. It works in a
/// directory of its own below $TMPDIR or /tmp, which is removed; a signal that ends this process
/// also ends minisign first, and waits until that is done, if no other thread takes it. Throws
/// std::runtime_error "minisign has not signed, status <number>", or with the text of an error of
/// the system; what OpenDirectory throws.
std::string SignWithMinisign(const std::string& key, const std::string& text);

}  // namespace kvl
