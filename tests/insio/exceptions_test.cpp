#include "insio/exceptions.h"

#include <type_traits>

#include "tests/support/test.h"

namespace kvl::test {
namespace {

using KVLInsIO::KVLInsException;
using KVLInsIO::KVLInsExceptionErrno;

/// The first handler that takes what `Thrown` is, in the order of a careful caller.
template <typename Thrown>
std::string Handler(const Thrown& thrown) {
  try {
    throw thrown;
  } catch (const KVLInsException&) {
    return "KVLInsException";
  } catch (const KVLInsExceptionErrno&) {
    return "KVLInsExceptionErrno";
  } catch (...) {
    return "none";
  }
}

template <typename Base, typename Thrown>
std::string TextAs(const Thrown& thrown) {
  try {
    throw thrown;
  } catch (const Base& caught) {
    return caught.what();
  }
}

TEST(KVLInsException, EndsItsMessageWithOneLineFeed) {
  EXPECT_STREQ(KVLInsException("Delete - empty path").what(), "Delete - empty path\n");
}

TEST(KVLInsException, AddsALineFeedToWhateverItIsGiven) {
  EXPECT_STREQ(KVLInsException("").what(), "\n");
  EXPECT_STREQ(KVLInsException("with its own\n").what(), "with its own\n\n");
}

TEST(KVLInsException, PutsTheErrorsTextBehindTheMessage) {
  EXPECT_STREQ(KVLInsException("mkdir - /a", ENOENT).what(),
               "mkdir - /a - No such file or directory\n");
}

TEST(KVLInsExceptionErrno, PutsTheErrorsTextBehindTheMessage) {
  EXPECT_STREQ(KVLInsExceptionErrno("Chmod - /missing", ENOENT).what(),
               "Chmod - /missing - No such file or directory\n");
}

TEST(Exceptions, TakeTheErrorsTextFromTheSystem) {
  for (const int error : {0, EPERM, ENOENT, EACCES, EEXIST, ENOSPC, ELOOP, 99999, -1}) {
    const std::string expected = std::string("text - ") + std::strerror(error) + "\n";
    EXPECT_EQ(KVLInsException("text", error).what(), expected) << error;
    EXPECT_EQ(KVLInsExceptionErrno("text", error).what(), expected) << error;
  }
}

TEST(Exceptions, SeparateAnEmptyMessageAllTheSame) {
  EXPECT_STREQ(KVLInsException("", ENOENT).what(), " - No such file or directory\n");
  EXPECT_STREQ(KVLInsExceptionErrno("", ENOENT).what(), " - No such file or directory\n");
}

TEST(Exceptions, KeepTheirTextWhenTheSystemMakesAnother) {
  const KVLInsException plain("text", 99998);
  const KVLInsExceptionErrno with_error("text", 99998);
  const std::string before = plain.what();
  ASSERT_STRNE(std::strerror(99999), "");  // unknown numbers share one buffer of the system
  EXPECT_EQ(plain.what(), before);
  EXPECT_EQ(with_error.what(), before);
  EXPECT_NE(before.find("99998"), std::string::npos) << before;
}

TEST(Exceptions, AreNotCaughtAsEachOther) {
  EXPECT_EQ(Handler(KVLInsException("text")), "KVLInsException");
  EXPECT_EQ(Handler(KVLInsException("text", ENOENT)), "KVLInsException");
  EXPECT_EQ(Handler(KVLInsExceptionErrno("text", ENOENT)), "KVLInsExceptionErrno");
}

TEST(Exceptions, AreBothCaughtAsTheStandardOnes) {
  const KVLInsException plain("text");
  const KVLInsExceptionErrno with_error("text", ENOENT);
  EXPECT_EQ(TextAs<std::runtime_error>(plain), plain.what());
  EXPECT_EQ(TextAs<std::exception>(plain), plain.what());
  EXPECT_EQ(TextAs<std::runtime_error>(with_error), with_error.what());
  EXPECT_EQ(TextAs<std::exception>(with_error), with_error.what());
}

TEST(Exceptions, CarryNothingButTheirText) {
  EXPECT_EQ(sizeof(KVLInsException), sizeof(std::runtime_error));
  EXPECT_EQ(sizeof(KVLInsExceptionErrno), sizeof(std::runtime_error));
  EXPECT_TRUE(std::has_virtual_destructor_v<KVLInsException>);
  EXPECT_TRUE(std::has_virtual_destructor_v<KVLInsExceptionErrno>);
}

}  // namespace
}  // namespace kvl::test
