#include "insio/exceptions.h"

#include "tests/support/test.h"

namespace kvl::test {
namespace {

using namespace KVLInsIO;
using testing::Not;
using testing::Throws;
using testing::ThrowsMessage;

TEST(Exceptions, EndTheirMessageWithOneLineFeed) {
  EXPECT_STREQ(KVLInsException("Delete - empty path").what(), "Delete - empty path\n");
  EXPECT_STREQ(KVLInsException("").what(), "\n");
  EXPECT_STREQ(KVLInsException("with its own\n").what(), "with its own\n\n");
}

TEST(Exceptions, PutTheSystemsTextOfTheErrorBehindTheMessage) {
  EXPECT_STREQ(KVLInsException("mkdir - /a", ENOENT).what(),
               "mkdir - /a - No such file or directory\n");
  EXPECT_STREQ(KVLInsExceptionErrno("Chmod - /missing", ENOENT).what(),
               "Chmod - /missing - No such file or directory\n");
  for (const std::string text : {"text", ""}) {
    for (const int error : {0, EPERM, ENOENT, EACCES, EEXIST, ENOSPC, ELOOP, 99999, -1}) {
      const std::string expected = text + " - " + std::strerror(error) + "\n";
      EXPECT_EQ(KVLInsException(text, error).what(), expected) << error;
      EXPECT_EQ(KVLInsExceptionErrno(text, error).what(), expected) << error;
    }
  }
}

TEST(Exceptions, KeepTheirTextWhenTheSystemMakesAnother) {
  const KVLInsException plain("text", 99998);
  const KVLInsExceptionErrno with_error("text", 99998);
  ASSERT_STRNE(std::strerror(99999), "");  // unknown numbers share one buffer of the system
  EXPECT_THAT(plain.what(), testing::HasSubstr("99998"));
  EXPECT_STREQ(with_error.what(), plain.what());
}

TEST(Exceptions, AreCaughtAsTheStandardOnesAndNotAsEachOther) {
  const auto plain = [] { throw KVLInsException("text"); };
  const auto plain_with_error = [] { throw KVLInsException("text", ENOENT); };
  const auto with_error = [] { throw KVLInsExceptionErrno("text", ENOENT); };
  EXPECT_THAT(plain, Not(Throws<KVLInsExceptionErrno>()));
  EXPECT_THAT(plain_with_error, Not(Throws<KVLInsExceptionErrno>()));
  EXPECT_THAT(with_error, Not(Throws<KVLInsException>()));
  EXPECT_THAT(plain, ThrowsMessage<std::runtime_error>("text\n"));
  EXPECT_THAT(plain, ThrowsMessage<std::exception>("text\n"));
  EXPECT_THAT(with_error, ThrowsMessage<std::runtime_error>("text - No such file or directory\n"));
  EXPECT_THAT(with_error, ThrowsMessage<std::exception>("text - No such file or directory\n"));
}

TEST(Exceptions, CarryNothingButTheirText) {
  EXPECT_EQ(sizeof(KVLInsException), sizeof(std::runtime_error));
  EXPECT_EQ(sizeof(KVLInsExceptionErrno), sizeof(std::runtime_error));
}

}  // namespace
}  // namespace kvl::test
