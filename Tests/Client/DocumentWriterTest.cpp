#include "DocumentWriter.h"

#include <filesystem>
#include <gtest/gtest.h>

#include "TemporaryFolder.h"

using TTMLClient::DocumentWriter;
using TTMLTest::TemporaryFolder;

namespace {

TTML::TTMLRawDataInfo Delivery(const std::string& document, const std::string& image = {})
{
    TTML::TTMLRawDataInfo data;
    data.data = document;
    data.secondaryData = image;
    return data;
}

TEST(DocumentWriter, NumbersDocumentsAndTheirImages)
{
    const TemporaryFolder folder;
    DocumentWriter writer(folder.Path("a/b"));
    ASSERT_TRUE(writer.Prepare()) << writer.Error();
    const std::string bytes("\xFF\r\n\0\x1A<tt/>", 10);
    const std::string image("\x89PNG\r\n\0", 7);
    EXPECT_TRUE(writer.Write(Delivery("one")));
    EXPECT_TRUE(writer.Write(Delivery(bytes, image)));
    EXPECT_TRUE(writer.Write(Delivery("")));

    EXPECT_EQ(folder.Content("a/b/0001.ttml"), "one");
    EXPECT_EQ(folder.Content("a/b/0002.ttml"), bytes);
    EXPECT_EQ(folder.Content("a/b/0002.png"), image);
    EXPECT_EQ(folder.Content("a/b/0003.ttml"), "");
    EXPECT_FALSE(std::filesystem::exists(folder.Path("a/b/0001.png")));
    EXPECT_FALSE(std::filesystem::exists(folder.Path("a/b/0003.png")));
}

TEST(DocumentWriter, ReplacesExistingFiles)
{
    const TemporaryFolder folder;
    folder.Write("0001.ttml", "something longer");
    DocumentWriter writer(folder.Path(""));
    ASSERT_TRUE(writer.Prepare()) << writer.Error();
    EXPECT_TRUE(writer.Write(Delivery("one")));
    EXPECT_EQ(folder.Content("0001.ttml"), "one");
}

TEST(DocumentWriter, SaysWhyAFolderCannotBeMade)
{
    const TemporaryFolder folder;
    folder.Write("file", "");
    DocumentWriter writer(folder.Path("file"));
    EXPECT_FALSE(writer.Prepare());
    EXPECT_EQ(writer.Error(), "creating the folder '" + folder.Path("file") +
                                  "' for --out failed: Not a directory; name a folder that can be written");
}

TEST(DocumentWriter, SaysWhyAFileCannotBeWritten)
{
    const TemporaryFolder folder;
    DocumentWriter writer(folder.Path("out"));
    ASSERT_TRUE(writer.Prepare());
    std::filesystem::remove(folder.Path("out"));
    EXPECT_FALSE(writer.Write(Delivery("one")));
    EXPECT_EQ(writer.Error(),
              "writing '" + folder.Path("out/0001.ttml") +
                  "' failed: No such file or directory; make room or name another folder with --out");
}

TEST(DocumentWriter, NoticesADiskThatIsFull)
{
    const TemporaryFolder folder;
    std::filesystem::create_symlink("/dev/full", folder.Path("0001.ttml"));
    DocumentWriter writer(folder.Path(""));
    ASSERT_TRUE(writer.Prepare());
    EXPECT_FALSE(writer.Write(Delivery("one")));
    EXPECT_EQ(writer.Error(),
              "writing '" + folder.Path("0001.ttml") +
                  "' failed: No space left on device; make room or name another folder with --out");
}

} // namespace
