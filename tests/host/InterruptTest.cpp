#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <random>
#include <set>
#include <string>
#include <thread>

#include "host/HostTest.h"

namespace norix::test {

namespace {

using testing::HasSubstr;

class InterruptTest : public HostTest {
protected:
  void SetUp() override {
    MakeClip("short.mp4", 160, 120, 25);
    FFmpeg({"-stream_loop", "400", "-i", In("short.mp4"), "-c", "copy", In("clip.mkv")});
    std::filesystem::remove(In("short.mp4"));
    SetContent(In("out.mp4"), "precious");
  }

  /** A render that goes on for long, once it shows that it is under way. */
  Process Begin() const {
    Launch launch = NorixLaunch({"render", In("clip.mkv"), In("out.mp4"), "-y", "--effect", "Zoom Blur", "--option",
                                 "preset=veryslow", "--progress", "bar"});
    return Process(launch);
  }

  /** The name of the unfinished file of a running process. */
  static std::string Part(const Process& norix) { return ".out.mp4." + std::to_string(norix.Id()) + ".part"; }

  void ExpectOrderlyEnd(int signal) const {
    Process norix = Begin();
    ASSERT_TRUE(norix.WaitForErr("frames"));
    EXPECT_EQ(Names(), (std::set<std::string>{"clip.mkv", "out.mp4", Part(norix)}));
    const auto sent = std::chrono::steady_clock::now();
    norix.Send(signal);
    const Ending ending = norix.Wait();
    EXPECT_LT(std::chrono::steady_clock::now() - sent, std::chrono::seconds(10));
    EXPECT_EQ(ending.code, 130);
    EXPECT_EQ(ending.out, "");
    EXPECT_THAT(ending.err, HasSubstr("norix: error: interrupted"));
    EXPECT_EQ(Names(), (std::set<std::string>{"clip.mkv", "out.mp4"}));
    EXPECT_EQ(Content(In("out.mp4")), "precious");
  }
};

TEST_F(InterruptTest, FromTheKeyboard) { ExpectOrderlyEnd(SIGINT); }

/// Until the program has begun to catch signals, one ends it as it ends any program.
bool CatchesInterrupts(pid_t process) {
  std::ifstream status("/proc/" + std::to_string(process) + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind("SigCgt:", 0) == 0) return (std::stoull(line.substr(7), nullptr, 16) >> (SIGINT - 1) & 1) != 0;
  }
  return true;  // it has ended, which the test will tell
}

TEST_F(InterruptTest, ByTermination) { ExpectOrderlyEnd(SIGTERM); }

TEST_F(InterruptTest, TwoInARow) {
  Process norix = Begin();
  ASSERT_TRUE(norix.WaitForErr("frames"));
  norix.Send(SIGINT);
  norix.Send(SIGTERM);
  const Ending ending = norix.Wait();
  EXPECT_EQ(ending.code, 130);
  EXPECT_EQ(Names(), (std::set<std::string>{"clip.mkv", "out.mp4"}));
  EXPECT_EQ(Content(In("out.mp4")), "precious");
}

TEST_F(InterruptTest, WhileLookingForTheFirstFrame) {
  // Nothing shows yet when it is sent: whatever the program is at, it ends in order.
  Launch launch = NorixLaunch({"render", In("clip.mkv"), In("out.mp4"), "-y", "--effect", "Swirl", "--start-frame", "9900",
                               "--level", "0:10000", "--option", "preset=veryslow"});
  Process norix(launch);
  while (!CatchesInterrupts(norix.Id())) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  norix.Send(SIGINT);
  const Ending ending = norix.Wait();
  EXPECT_EQ(ending.code, 130);
  EXPECT_EQ(Content(In("out.mp4")), "precious");
  EXPECT_EQ(Names(), (std::set<std::string>{"clip.mkv", "out.mp4"}));
}

TEST_F(InterruptTest, AtAnyMoment) {
  // Short, so that some end before the signal comes.
  MakeSilentClip("short.mp4", 64, 48, 25);
  const std::set<std::string> own = {"clip.mkv", "out.mp4", "short.mp4"};
  // Unfinished files of killed runs stay until a later run begins its own, to which not every interrupted one comes.
  std::set<std::string> known = own;
  std::mt19937 random(1);
  for (int i = 0; i < 30; ++i) {
    const bool kill = i % 3 == 2;
    const int signal = kill ? SIGKILL : i % 3 == 1 ? SIGTERM : SIGINT;
    const int milliseconds = std::uniform_int_distribution<int>(0, 250)(random);
    SCOPED_TRACE("signal " + std::to_string(signal) + " after " + std::to_string(milliseconds) + " ms");
    SetContent(In("out.mp4"), "precious");
    Process norix(
        NorixLaunch({"render", In("short.mp4"), In("out.mp4"), "-y", "--effect", "Swirl", "--option", "preset=slow"}));
    if (kill) known.insert(Part(norix));
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    norix.Send(signal);
    if (i % 5 == 4) norix.Send(SIGTERM);
    const Ending ending = norix.Wait();
    ASSERT_FALSE(ending.late);
    if (ending.code >= 0) {
      EXPECT_THAT(ending.code, testing::AnyOf(0, 130)) << ending.err;
    } else {  // which before signals are caught may be any of them
      EXPECT_THAT(ending.signal, testing::AnyOf(signal, SIGTERM));
    }
    const std::set<std::string> names = Names();
    EXPECT_TRUE(std::includes(names.begin(), names.end(), own.begin(), own.end())) << testing::PrintToString(names);
    EXPECT_TRUE(std::includes(known.begin(), known.end(), names.begin(), names.end())) << testing::PrintToString(names);
    if (ending.code == 0) {
      EXPECT_EQ(names, own);
    }
    if (ending.code != 0 && Content(In("out.mp4")) == "precious") continue;
    EXPECT_NE(ending.code, 130);
    EXPECT_EQ(FrameTimes(In("out.mp4")).size(), 25U);
    EXPECT_EQ(PlayErrors(In("out.mp4")), "");
  }
  ExpectDone(Norix({"render", In("short.mp4"), In("out.mp4"), "-y", "--effect", "Swirl"}));
  EXPECT_EQ(Names(), own);
}

TEST_F(InterruptTest, WhatAKilledRunLeftGoesWithTheNext) {
  Process norix = Begin();
  ASSERT_TRUE(norix.WaitForErr("frames"));
  const std::string part = Part(norix);
  norix.Send(SIGKILL);
  EXPECT_EQ(norix.Wait().signal, SIGKILL);
  EXPECT_EQ(Names(), (std::set<std::string>{"clip.mkv", "out.mp4", part}));
  EXPECT_EQ(Content(In("out.mp4")), "precious");
  ExpectDone(Norix({"render", In("clip.mkv"), In("out.mp4"), "-y", "--effect", "Swirl", "--frames", "3"}));
  EXPECT_EQ(Names(), (std::set<std::string>{"clip.mkv", "out.mp4"}));
  EXPECT_EQ(FrameTimes(In("out.mp4")).size(), 3U);
}

TEST_F(InterruptTest, GalleryLeavesNothing) {
  MakeSilentClip("large.mp4", 1280, 720, 2);
  const auto names = Names();
  Process norix(NorixLaunch({"gallery", In("large.mp4"), In("new/gallery"), "--width", "640", "--threads", "2"}));
  const auto begun = [&] { return std::filesystem::exists(In("new/gallery")) && !Names("new/gallery").empty(); };
  while (!begun()) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  norix.Send(SIGINT);
  const Ending ending = norix.Wait();
  EXPECT_EQ(ending.code, 130);
  EXPECT_THAT(ending.err, HasSubstr("nothing was written"));
  EXPECT_EQ(Names(), names);
}

}  // namespace

}  // namespace norix::test
