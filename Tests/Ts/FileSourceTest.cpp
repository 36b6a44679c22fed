#include <memory>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "FileSource.h"
#include "Gate.h"
#include "TemporaryFolder.h"
#include "TestThread.h"
#include "TsBuilder.h"

namespace {

using TTMLHost::ByteSpan;
using TTMLHost::FileSource;
using TTMLHost::PacketSource;
using TTMLTest::Bytes;
using TTMLTest::Filling;
using TTMLTest::TemporaryFolder;
using TTMLTest::operator+;

std::unique_ptr<PacketSource> Open(const std::string& input)
{
    std::string error;
    auto source = PacketSource::Open(input, &error);
    EXPECT_NE(source, nullptr) << error;
    return source;
}

Bytes ReadToEnd(PacketSource* source)
{
    Bytes all;
    ByteSpan batch;
    std::string error = "before";
    while (source->Read(&batch, &error)) {
        all.insert(all.end(), batch.data, batch.data + batch.size);
    }
    EXPECT_EQ(error, "");
    return all;
}

TEST(FileSource, ReadsAFileToItsEnd)
{
    const TemporaryFolder folder;
    for (const std::size_t size :
         {std::size_t{0}, std::size_t{1}, FileSource::kBufferSize, 2 * FileSource::kBufferSize + 77}) {
        const Bytes content = Filling(size);
        const std::string path = folder.Write("x.ts", std::string(content.begin(), content.end()));
        const auto source = Open(path);
        EXPECT_FALSE(source->IsLive());
        EXPECT_EQ(ReadToEnd(source.get()), content);
        ByteSpan batch;
        std::string error;
        EXPECT_FALSE(source->Read(&batch, &error));
    }
}

TEST(FileSource, EndsWhenItIsInterrupted)
{
    const TemporaryFolder folder;
    const auto source = Open(folder.Write("x.ts", "content"));
    source->Interrupt();
    ByteSpan batch;
    std::string error = "before";
    EXPECT_FALSE(source->Read(&batch, &error));
    EXPECT_EQ(error, "");
}

TEST(FileSource, SaysWhyItCannotBeOpened)
{
    const TemporaryFolder folder;
    std::string error;
    EXPECT_EQ(PacketSource::Open(folder.Path("no\nsuch.ts"), &error), nullptr);
    EXPECT_EQ(error,
              "Cannot open '" + folder.Path("no?such.ts") + "': No such file or directory; check the path");
    EXPECT_EQ(PacketSource::Open(folder.Path(), &error), nullptr);
    EXPECT_EQ(error, "Cannot open '" + folder.Path() + "': Is a directory; give the path of a file");
}

// Both ends of a pipe with a name.
class PipeTest : public testing::Test
{
protected:
    PipeTest()
        : path(folder.Path("pipe"))
    {
        EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
        source = Open(path);
        writer = open(path.c_str(), O_WRONLY | O_CLOEXEC);
        EXPECT_GE(writer, 0);
    }
    ~PipeTest() override { CloseWriter(); }

    void Write(const std::string& text) const
    {
        EXPECT_EQ(write(writer, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }
    void CloseWriter()
    {
        if (writer >= 0) {
            close(writer);
        }
        writer = -1;
    }

    const TemporaryFolder folder;
    const std::string path;
    std::unique_ptr<PacketSource> source;
    int writer = -1;
};

TEST_F(PipeTest, IsReadAsItIsWritten)
{
    ByteSpan batch;
    std::string error;
    EXPECT_TRUE(source->Read(&batch, &error));
    EXPECT_EQ(batch.size, 0U);
    Write("first");
    ASSERT_TRUE(source->Read(&batch, &error));
    EXPECT_EQ(std::string(batch.data, batch.data + batch.size), "first");
    Write("last");
    CloseWriter();
    EXPECT_EQ(ReadToEnd(source.get()), TTMLTest::TextBytes("last"));
}

TEST_F(PipeTest, EndsAWaitThatIsInterrupted)
{
    TTMLTest::Gate begun("the first read is over");
    std::string error = "before";
    const TTMLTest::TestThread reader([&] {
        ByteSpan batch;
        while (source->Read(&batch, &error)) {
            begun.Open();
        }
    });
    ASSERT_TRUE(begun.Wait());
    source->Interrupt();
    ASSERT_TRUE(reader.WaitUntilDone());
    EXPECT_EQ(error, "");
}

TEST(FileSource, WaitsForAPipesFirstWriter)
{
    const TemporaryFolder folder;
    const std::string path = folder.Path("pipe");
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const auto source = Open(path);
    ByteSpan batch;
    std::string error;
    EXPECT_TRUE(source->Read(&batch, &error));
    EXPECT_EQ(batch.size, 0U);
}

TEST(FileSource, ReadsStandardInput)
{
    const TemporaryFolder folder;
    const std::string path = folder.Write("x.ts", "content");
    const int kept = dup(STDIN_FILENO);
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_GE(dup2(file, STDIN_FILENO), 0);
    close(file);
    EXPECT_EQ(ReadToEnd(Open("-").get()), TTMLTest::TextBytes("content"));
    // It stays open.
    EXPECT_GE(fcntl(STDIN_FILENO, F_GETFD), 0);
    if (kept >= 0) {
        dup2(kept, STDIN_FILENO);
        close(kept);
    }
}

TEST(FileSource, IsCalledByItsNameInErrorLines)
{
    EXPECT_EQ(TTMLHost::NameOfInput("-"), "standard input");
    EXPECT_EQ(TTMLHost::NameOfInput("x.ts"), "'x.ts'");
}

} // namespace
