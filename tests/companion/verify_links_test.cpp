// kvl-media verify on carriers without symbolic links, such as FAT or ISO 9660 without Rock Ridge.
// Tools that copy to such a carrier omit links, copy what they lead to, or write a file for each.
#include "tests/companion/sealed_world.h"

namespace kvl::test {
namespace {

TEST(VerifyOnACarrierWithoutLinks, NamesEachLink) {
  SealedWorld world;
  world.Change(
      "link payload/1/b/first ../a; link payload/1/b/second first; link payload/1/c b; "
      "link payload/1/d b/program; link payload/2/all a");
  world.Make("sibling");
  world.ExpectVerified(
      {"{media}"}, 0,
      "Whole: 2 volumes, 15 files, <n> bytes; not proven genuine: no key was given\n");
  world.Change(
      "remove media/1/payload/1/b/first; "
      "remove media/1/payload/1/b/second; file media/1/payload/1/b/second one; "
      "remove media/1/payload/1/c; dir media/1/payload/1/c; file media/1/payload/1/c/program two; "
      "remove media/1/payload/1/d; file media/1/payload/1/d; remove media/2/payload/2/all");
  world.ExpectVerified({"{media}"}, 1,
                       "missing       {media/1/payload/1/b/first}\n"
                       "wrong kind    {media/1/payload/1/b/second}: it is not a symbolic link\n"
                       "wrong kind    {media/1/payload/1/c}: it is not a symbolic link\n"
                       "wrong kind    {media/1/payload/1/d}: it is not a symbolic link\n"
                       "missing       {media/2/payload/2/all}\n"
                       "5 problems; read: 15 files, <n> bytes\n");
}

}  // namespace
}  // namespace kvl::test
