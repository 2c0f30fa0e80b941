// Splitting a command's text into the arguments of a program.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kvl {

/// The arguments in order, the program's name first; empty arguments vanish, quoted or not. Only a
/// blank separates. Takes time in proportion to the length.
///   "  a  'b c'  "   =>  [a] [b c]         single quotes: literally, up to the next one
///   a "b \" \\ \n"   =>  [a] [b " \ \n]    double quotes: \" and \\ lose the backslash, no other
///   a\ b\\           =>  [a b\]            bare: a backslash takes the next character literally
///   a '' "" b        =>  [a] [b]           on purpose: no way to pass an empty argument
///   "a\" "b"         =>  [a" b]            on purpose: a backslash before the closing quote hides it
///   a 'b c           =>  [a] [b c]         an open quote reaches to the end
///   a\               =>  [a]               a last backslash goes; inside open double quotes it stays
std::vector<std::string> SplitCommand(std::string_view command);

}  // namespace kvl
