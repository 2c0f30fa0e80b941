// The volumes of a media spread over AM volumes: numbered directories with markers of their own,
// each holding media volumes at the same relative place.

#include "tests/media/scan_checks.h"
#include "tests/support/media_world.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

/// The media {am/4/sets/a/1} of three volumes, in the first AM volume {am/4}. The others are not
/// there yet.
struct AmMedia {
  MediaWorld world;

  AmMedia() {
    world.Volume("am/4/sets/a/1").Announces("3").Marker(1, "SET-A");
    AmVolume(4, "AM-A");
  }

  void AmVolume(int number, const std::string& tag) {
    world.Volume("am/" + std::to_string(number)).Marker(number, tag);
  }

  /// Where a volume belongs.
  VolumeBuilder Place(int volume) {
    return world.Volume("am/" + std::to_string(3 + volume) + "/sets/a/" + std::to_string(volume));
  }

  /// A further volume with the AM volume that holds it.
  void Volume(int volume) {
    AmVolume(3 + volume, "AM-A");
    Place(volume).Marker(volume, "SET-A");
  }

  /// What is expected of every such media, as far as no further volume is concerned.
  static ExpectedScan Beginning() {
    return {.out =
                " INFO: This media is composed of 3 volumes.\n"
                "       Volume 1 found in: {am/4/sets/a/1}\n"
                "       AM volume 4 found in: {am/4}\n",
            .volumes_count = "3",
            .mtb_dir = "AM-A",
            .first_am_volume = "4",
            .first_am_path = "{am/4}",
            .am_relative_path = "sets/a"};
  }

  void ExpectOnScan(const ExpectedScan& expected) {
    ExpectScan(world, world.ScanFrom("am/4/sets/a/1"), expected);
  }
};

TEST(AmLayout, WithAllVolumesListsTheirDirectoriesInOrder) {
  AmMedia media;
  media.Volume(3);
  media.Volume(2);
  ExpectedScan expected = AmMedia::Beginning();
  expected.code = 3;
  expected.volumes = {"{am/5/sets/a/2}", "{am/6/sets/a/3}"};
  expected.out +=
      "       AM volume 5 found in: {am/5}\n"
      "       Volume 2 found in: {am/5/sets/a/2}\n"
      "       AM volume 6 found in: {am/6}\n"
      "       Volume 3 found in: {am/6/sets/a/3}\n";
  media.ExpectOnScan(expected);
}

TEST(AmLayout, CountsFromTheNumberOfTheFirstAmVolumeOn) {
  MediaWorld world;
  world.Volume("am/99/x/1").Announces("2").Marker(1, "SET-A");
  world.Volume("am/99").Marker(99, "AM-A");
  world.Volume("am/100").Marker(100, "AM-A");
  world.Volume("am/100/x/2").Marker(2, "SET-A");
  ExpectScan(world, world.ScanFrom("am/99/x/1"),
             {.code = 2,
              .volumes = {"{am/100/x/2}"},
              .out = " INFO: This media is composed of 2 volumes.\n"
                     "       Volume 1 found in: {am/99/x/1}\n"
                     "       AM volume 99 found in: {am/99}\n"
                     "       AM volume 100 found in: {am/100}\n"
                     "       Volume 2 found in: {am/100/x/2}\n",
              .volumes_count = "2",
              .mtb_dir = "AM-A",
              .first_am_volume = "99",
              .first_am_path = "{am/99}",
              .am_relative_path = "x"});
}

TEST(AmLayout, DirectlyInTheAmVolumeHasAnEmptyRelativePath) {
  MediaWorld world;
  world.Volume("am/1/1").Announces("2").Marker(1, "SET-A");
  world.Volume("am/1").Marker(1, "AM-A");
  world.Volume("am/2").Marker(2, "AM-A");
  world.Volume("am/2/2").Marker(2, "SET-A");
  ExpectScan(world, world.ScanFrom("am/1/1"),
             {.code = 2,
              .volumes = {"{am/2/2}"},
              .out = " INFO: This media is composed of 2 volumes.\n"
                     "       Volume 1 found in: {am/1/1}\n"
                     "       AM volume 1 found in: {am/1}\n"
                     "       AM volume 2 found in: {am/2}\n"
                     "       Volume 2 found in: {am/2/2}\n",
              .volumes_count = "2",
              .mtb_dir = "AM-A",
              .first_am_volume = "1",
              .first_am_path = "{am/1}",
              .am_relative_path = ""});
}

TEST(AmLayout, DoesNotDependOnTheNameOfTheFirstAmVolumesDirectory) {
  MediaWorld world;
  world.Volume("am/first/x/media").Announces("2").Marker(1, "SET-A");
  world.Volume("am/first").Marker(7, "AM-A");
  world.Volume("am/8").Marker(8, "AM-A");
  world.Volume("am/8/x/2").Marker(2, "SET-A");
  ExpectScan(world, world.ScanFrom("am/first/x/media"),
             {.code = 2,
              .volumes = {"{am/8/x/2}"},
              .out = " INFO: This media is composed of 2 volumes.\n"
                     "       Volume 1 found in: {am/first/x/media}\n"
                     "       AM volume 7 found in: {am/first}\n"
                     "       AM volume 8 found in: {am/8}\n"
                     "       Volume 2 found in: {am/8/x/2}\n",
              .volumes_count = "2",
              .mtb_dir = "AM-A",
              .first_am_volume = "7",
              .first_am_path = "{am/first}",
              .am_relative_path = "x"});
}

TEST(AmLayout, WithoutAnyFurtherAmVolumeFailsSilently) {
  AmMedia media;
  media.ExpectOnScan(AmMedia::Beginning());
}

TEST(AmLayout, WithAmVolumesThatHoldNoVolumeFailsSilently) {
  AmMedia media;
  media.AmVolume(5, "AM-A");
  media.AmVolume(6, "AM-A");
  ExpectedScan expected = AmMedia::Beginning();
  expected.out +=
      "       AM volume 5 found in: {am/5}\n"
      "       AM volume 6 found in: {am/6}\n";
  media.ExpectOnScan(expected);
}

TEST(AmLayout, WithOneOfTwoFurtherVolumesIsIncomplete) {
  AmMedia media;
  media.AmVolume(5, "AM-A");
  media.Volume(3);
  ExpectedScan expected = AmMedia::Beginning();
  expected.volumes = {"{am/6/sets/a/3}"};
  expected.out +=
      "       AM volume 5 found in: {am/5}\n"
      "       AM volume 6 found in: {am/6}\n"
      "       Volume 3 found in: {am/6/sets/a/3}\n";
  expected.err = kMissingVolumes;
  media.ExpectOnScan(expected);
}

TEST(AmLayout, DoesNotLookIntoAnAmVolumeWithoutAReadableMarker) {
  AmMedia without, no_tag, directory, other_number;
  no_tag.world.Volume("am/6").File("6.txt", "MTBDIR=\n");
  directory.world.Volume("am/6").Dir("6.txt");
  other_number.world.Volume("am/6").Marker(3, "AM-A");
  for (AmMedia* media : {&without, &no_tag, &directory, &other_number}) {
    media->Volume(2);
    media->Place(3).Marker(3, "SET-A");
    ExpectedScan expected = AmMedia::Beginning();
    expected.volumes = {"{am/5/sets/a/2}"};
    expected.out +=
        "       AM volume 5 found in: {am/5}\n"
        "       Volume 2 found in: {am/5/sets/a/2}\n";
    expected.err = kMissingVolumes;
    SCOPED_TRACE(media->world.Path("."));
    media->ExpectOnScan(expected);
  }
}

TEST(AmLayout, CountsAVolumeWhoseMarkerCannotBeReadAsAbsent) {
  AmMedia no_tag, directory, other_place;
  no_tag.Place(3).File("3.txt", "SET-A\n");
  directory.Place(3).Dir("3.txt");
  other_place.world.Volume("am/6/3").Marker(3, "SET-A");
  for (AmMedia* media : {&no_tag, &directory, &other_place}) {
    media->Volume(2);
    media->AmVolume(6, "AM-A");
    ExpectedScan expected = AmMedia::Beginning();
    expected.volumes = {"{am/5/sets/a/2}"};
    expected.out +=
        "       AM volume 5 found in: {am/5}\n"
        "       Volume 2 found in: {am/5/sets/a/2}\n"
        "       AM volume 6 found in: {am/6}\n";
    expected.err = kMissingVolumes;
    SCOPED_TRACE(media->world.Path("."));
    media->ExpectOnScan(expected);
  }
}

TEST(AmLayout, WithAnAmVolumeOfAnotherSetDoesNotLookIntoItAndFails) {
  AmMedia media;
  media.Volume(2);
  media.AmVolume(5, "AM-B");
  media.Volume(3);
  ExpectedScan expected = AmMedia::Beginning();
  expected.volumes = {"{am/6/sets/a/3}"};
  expected.err =
      " WARN: AM volume 5 of AM-B found in {am/5} instead of AM-A\n"
      "       AM volume 6 found in: {am/6}\n"
      "       Volume 3 found in: {am/6/sets/a/3}\n";
  media.ExpectOnScan(expected);
}

TEST(AmLayout, WithAVolumeOfAnotherSetFails) {
  AmMedia media;
  media.Volume(2);
  media.Place(2).Marker(2, "SET-B");
  media.Volume(3);
  ExpectedScan expected = AmMedia::Beginning();
  expected.volumes = {"{am/6/sets/a/3}"};
  expected.out += "       AM volume 5 found in: {am/5}\n";
  expected.err =
      " WARN: Volume 2 of SET-B found in {am/5/sets/a/2} instead of SET-A\n"
      "       AM volume 6 found in: {am/6}\n"
      "       Volume 3 found in: {am/6/sets/a/3}\n";
  media.ExpectOnScan(expected);
}

TEST(AmLayout, ReportsEveryVolumeOfAnotherSetAndKeepsTheFoundOnesInTheList) {
  AmMedia media;
  media.Volume(2);
  media.AmVolume(6, "AM-A");
  media.Place(3).Marker(3, "SET-C");
  ExpectedScan expected = AmMedia::Beginning();
  expected.volumes = {"{am/5/sets/a/2}"};
  expected.out +=
      "       AM volume 5 found in: {am/5}\n"
      "       Volume 2 found in: {am/5/sets/a/2}\n"
      "       AM volume 6 found in: {am/6}\n";
  expected.err = " WARN: Volume 3 of SET-C found in {am/6/sets/a/3} instead of SET-A\n";
  media.ExpectOnScan(expected);
}

TEST(AmLayout, WithOnlyWrongVolumesIsNotSilent) {
  AmMedia media;
  media.AmVolume(5, "AM-B");
  media.AmVolume(6, "AM-A");
  media.Place(3).Marker(3, "SET-B");
  ExpectedScan expected = AmMedia::Beginning();
  expected.err =
      " WARN: AM volume 5 of AM-B found in {am/5} instead of AM-A\n"
      "       AM volume 6 found in: {am/6}\n"
      " WARN: Volume 3 of SET-B found in {am/6/sets/a/3} instead of SET-A\n";
  media.ExpectOnScan(expected);
}

TEST(AmLayout, TellsTheTagsOfAmVolumesAndOfMediaVolumesApart) {
  AmMedia media;
  media.AmVolume(5, "SET-A");  // the media's own tag is wrong here
  media.AmVolume(6, "AM-A");
  media.Place(3).Marker(3, "AM-A");  // and that of the AM volumes here
  ExpectedScan expected = AmMedia::Beginning();
  expected.err =
      " WARN: AM volume 5 of SET-A found in {am/5} instead of AM-A\n"
      "       AM volume 6 found in: {am/6}\n"
      " WARN: Volume 3 of AM-A found in {am/6/sets/a/3} instead of SET-A\n";
  media.ExpectOnScan(expected);
}

/// A media with relative names leads from one AM volume back into the first one, since a relative
/// path between relative directories has no common beginning; unless a link is in between.
TEST(AmLayout, OfARelativeMediaGoesThroughTheRelativePath) {
  MediaWorld world;
  world.Volume("am/1/x/1").Announces("2").Marker(1, "SET-A");
  world.Volume("am/1").Marker(1, "AM-A");
  world.Volume("other/deep/2").Marker(2, "AM-A");
  world.Volume("am").Link("2", "{other/deep/2}");
  ExpectedScan expected = {.code = 0,
                           .out =
                               " INFO: This media is composed of 2 volumes.\n"
                               "       Volume 1 found in: am/1/x/1\n"
                               "       AM volume 1 found in: am/1\n"
                               "       AM volume 2 found in: am/2\n",
                           .volumes_count = "2",
                           .mtb_dir = "AM-A",
                           .first_am_volume = "1",
                           .first_am_path = "am/1",
                           .am_relative_path = "../../am/1/x"};
  ExpectScan(world, ScanRelative(world, "am/1/x/1"), expected);

  world.Volume("other/am/1/x/2").Marker(2, "SET-A");
  expected.code = 2;
  expected.volumes = {"am/2/../../am/1/x/2"};
  expected.out += "       Volume 2 found in: am/2/../../am/1/x/2\n";
  ExpectScan(world, ScanRelative(world, "am/1/x/1"), expected);
}

}  // namespace
}  // namespace kvl::test
