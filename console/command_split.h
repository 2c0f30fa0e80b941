// Splits the text of a command into the arguments of a program.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kvl {

/// Returns the arguments in order, the program's name first. Drops empty arguments, quoted or not.
/// Only a blank separates. Takes time in proportion to the length.
///   "  a  'b c'  "   =>  [a] [b c]         single quotes: literal up to the next one
///   a "b \" \\ \n"   =>  [a] [b " \ \n]    double quotes: only \" and \\ lose the backslash
///   a\ b\\           =>  [a b\]            bare: a backslash makes the next character literal
///   a '' "" b        =>  [a] [b]           on purpose: no way to pass an empty argument
///   "a\" "b"         =>  [a" b]            on purpose: a backslash hides a closing quote
///   a 'b c           =>  [a] [b c]         an open quote extends to the end
///   a\               =>  [a]               a last backslash goes, but stays in open double quotes
std::vector<std::string> SplitCommand(std::string_view command);

}  // namespace kvl
