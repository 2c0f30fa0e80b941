// The manual pages, as far as tests read them, and the claim that what the product says stands there.
#pragma once

#include "tests/support/outcome.h"
#include "tests/support/test.h"

namespace kvl::test {

struct PageLine {
  std::string section, subsection;
  std::string list;  ///< the kind of the innermost list: messages stand in those called "-diag"
  std::string text;  ///< with its macro, without escapes
};

/// A page of docs/man, line by line; nothing where the sources are not there.
const std::vector<PageLine>& ReadPage(const std::string& page);

/// The lines of all messages in a section of a page, of one subsection unless that is empty. What
/// stands in angle brackets is put in.
std::vector<std::string> MessagesOf(const std::string& page, const std::string& section,
                                    const std::string& subsection = "");

/// True when the text is one of these messages, with anything in place of the angle brackets.
bool IsOneOf(std::string text, const std::vector<std::string>& messages);

/// Claims that the manual has each line of the launcher's messages and of kvl-media's in
/// what a program said. RunProgram does so, thus for all that a test can see.
void ExpectInManual(const Outcome& said);

/// Claims that the manual has each line of the text of a library's exception.
void ExpectInLibraryManual(const std::string& what);

}  // namespace kvl::test
