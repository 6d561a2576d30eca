#include "host/HostTest.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iterator>
#include <system_error>

namespace norix::test {

namespace fs = std::filesystem;

namespace {

// With pictures that are not in the order of their display.
const char* const kH264[] = {"-c:v", "libx264", "-preset", "veryfast", "-g", "12", "-bf", "2", "-pix_fmt", "yuv420p"};

std::string Size(int width, int height) { return std::to_string(width) + 'x' + std::to_string(height); }

}  // namespace

Launch NorixLaunch(const Words& arguments) {
  Launch launch = {.arguments = {NORIX_COMMAND}};
  launch.arguments.insert(launch.arguments.end(), arguments.begin(), arguments.end());
  return launch;
}

HostTest::HostTest() : folder_(std::string(NORIX_SCRATCH) + "/XXXXXX") {
  fs::create_directories(NORIX_SCRATCH);
  if (!mkdtemp(folder_.data())) throw std::system_error(errno, std::generic_category(), folder_);
}

HostTest::~HostTest() {
  std::error_code ignored;
  fs::remove_all(folder_, ignored);
}

std::set<std::string> HostTest::Names(const std::string& below) const {
  std::set<std::string> names;
  for (const auto& entry : fs::directory_iterator(In(below))) names.insert(entry.path().filename());
  return names;
}

Ending HostTest::Render(const std::string& input, const std::string& output, const Words& arguments) const {
  Words all = {"render", In(input), In(output)};
  all.insert(all.end(), arguments.begin(), arguments.end());
  return Norix(all);
}

Ending HostTest::RenderWell(const std::string& input, const std::string& output, const Words& arguments) const {
  const auto before = Names();
  Ending ending = Render(input, output, arguments);
  ExpectDone(ending);
  EXPECT_THAT(ending.out, testing::StartsWith(In(output) + ": "));
  auto after = before;
  after.insert(output);
  EXPECT_EQ(Names(), after);
  return ending;
}

void HostTest::MakeSilentClip(const std::string& name, int width, int height, int frames, const Words& arguments) const {
  Words all = {"-f", "lavfi", "-i", "testsrc2=r=25:s=" + Size(width, height), "-frames:v", std::to_string(frames)};
  all.insert(all.end(), std::begin(kH264), std::end(kH264));
  all.insert(all.end(), arguments.begin(), arguments.end());
  Make(name, all);
}

void HostTest::MakeClip(const std::string& name, int width, int height, int frames, const Words& arguments) const {
  // The tone rises, so that no two packets of it are equal.
  const std::string seconds = ":d=" + std::to_string(frames / 25.0);
  const std::string tone = "aevalsrc=0.5*sin(2*PI*t*(300+150*t)):s=44100" + seconds;
  Words all = {"-f", "lavfi", "-i", "testsrc2=r=25:s=" + Size(width, height) + seconds};
  all.insert(all.end(), {"-f", "lavfi", "-i", tone, "-c:a", "aac"});
  all.insert(all.end(), std::begin(kH264), std::end(kH264));
  all.insert(all.end(), arguments.begin(), arguments.end());
  Make(name, all);
}

void HostTest::MakeNoiseClip(const std::string& name, const std::string& pixelFormat, int width, int height, int frames,
                             const Words& arguments) const {
  const std::string noise = Noise(PictureBytes(pixelFormat, width, height) * static_cast<std::size_t>(frames), 1);
  SetContent(In("noise.raw"), noise);
  Words all = {"-f", "rawvideo", "-pix_fmt", pixelFormat, "-s", Size(width, height), "-r", "25", "-i", In("noise.raw")};
  all.insert(all.end(), arguments.begin(), arguments.end());
  all.push_back(In(name));
  FFmpeg(all);
  fs::remove(In("noise.raw"));
}

void HostTest::Make(const std::string& name, const Words& arguments) const {
  std::string line;
  for (const std::string& argument : arguments) line += argument + '\n';
  const fs::path store = fs::path(NORIX_SCRATCH) / "inputs";
  const std::string extension = fs::path(name).extension().string();
  const fs::path kept = store / (std::to_string(std::hash<std::string>()(line)) + extension);
  if (!fs::exists(kept)) {
    fs::create_directories(store);
    Words all = arguments;
    all.push_back(In(name));
    FFmpeg(all);
    // Under its name only when whole, as other tests may look for it at the same time.
    const fs::path made = kept.string() + '.' + std::to_string(getpid());
    fs::copy_file(In(name), made);
    fs::rename(made, kept);
  }
  fs::copy_file(kept, In(name), fs::copy_options::overwrite_existing);
}

void ExpectDone(const Ending& ending) {
  EXPECT_FALSE(ending.late) << "killed after too long a time";
  EXPECT_EQ(ending.code, 0) << "signal " << ending.signal << ", stderr: " << ending.err;
  EXPECT_THAT(ending.err, testing::Not(testing::HasSubstr("norix: error:")));
}

}  // namespace norix::test
