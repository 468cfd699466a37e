// Tests of the registry store's file: written at once or in batches, merged with the writes of
// other stores, never replaced half-written, and kept aside when damaged.
#include "platform/RegistryFile.h"

#include <string>

#include <sys/stat.h>

#include <gtest/gtest.h>

#include "foundation/Log.h"
#include "foundation/Paths.h"
#include "foundation/ResString.h"
#include "foundation/ResultText.h"
#include "platform/RegistryExport.h"
#include "resources/StringIds.h"
#include "support/RegistryValues.h"
#include "support/XdgSandbox.h"

namespace {

using testutil::Dword;

std::optional<u32> ReadDword(CRegistryFile& store, const std::wstring& key,
                             const std::wstring& name) {
    RegValueData value;
    if (!store.QueryValue(key, name, value) || value.type != 4 || value.bytes.size() != 4)
        return std::nullopt;
    return value.bytes[0] | (value.bytes[1] << 8) | (value.bytes[2] << 16) | (value.bytes[3] << 24);
}

class RegistryFileTest : public ::testing::Test {
protected:
    // The DWORD key\name as a new reader of the store's file finds it.
    std::optional<u32> Stored(const std::wstring& key, const std::wstring& name) const {
        CRegistryFile reader(sandbox.StoreFileW());
        return ReadDword(reader, key, name);
    }
    // The store's bytes after one process has set K\v to 1.
    std::vector<u8> StoreWithOneValue() const {
        CRegistryFile store(sandbox.StoreFileW());
        EXPECT_EQ(store.SetValue(L"K", L"v", Dword(1)), 0);
        return testutil::ReadBytes(sandbox.StoreFile());
    }

    XdgSandbox sandbox;
};

} // namespace

TEST_F(RegistryFileTest, WritesAtOnceAndReadsBackInANewStore) {
    std::shared_ptr<CRegistryFile> store = TheRegistryFile();
    EXPECT_FALSE(std::filesystem::exists(sandbox.StoreFile()));
    EXPECT_FALSE(store->KeyExists(L"Software"));

    bool created = false;
    EXPECT_EQ(store->CreateKey(L"Software\\Harrowmere\\Lunavex32", created), 0);
    EXPECT_TRUE(created);
    ASSERT_TRUE(std::filesystem::exists(sandbox.StoreFile()));
    EXPECT_EQ(store->CreateKey(L"software\\HARROWMERE\\lunavex32", created), 0);
    EXPECT_FALSE(created);

    // The file's text is SettingsTest's; here the value comes back in a new store.
    EXPECT_EQ(store->SetValue(L"Software\\Harrowmere\\Lunavex32", L"N", Dword(80)), 0);
    EXPECT_EQ(Stored(L"SOFTWARE\\harrowmere\\Lunavex32", L"n"), 80u);
    // Nothing is left beside the store but its lock file.
    EXPECT_TRUE(sandbox.FilesStartingWith(".lvx").empty());
    EXPECT_TRUE(std::filesystem::exists(sandbox.ConfigFolder() / "Lunavex32.reg.lock"));
}

TEST_F(RegistryFileTest, ABatchIsOneWriteAndOtherProcessesKeysSurvive) {
    CRegistryFile first(sandbox.StoreFileW());
    CRegistryFile second(sandbox.StoreFileW());
    EXPECT_EQ(first.SetValue(L"A", L"one", Dword(1)), 0);
    EXPECT_EQ(first.SetValue(L"Shared", L"v", Dword(10)), 0);
    // second read the file before first's next write and never sees it in memory.
    EXPECT_EQ(ReadDword(second, L"A", L"one"), 1u);
    EXPECT_EQ(first.SetValue(L"A", L"two", Dword(2)), 0);

    int writes = 0;
    second.SetBeforeReplaceHook([&writes] {
        ++writes;
        return true;
    });
    second.BeginWriteBatch();
    EXPECT_EQ(second.SetValue(L"B", L"three", Dword(3)), 0);
    EXPECT_EQ(second.SetValue(L"Shared", L"v", Dword(20)), 0);
    EXPECT_EQ(writes, 0);
    EXPECT_EQ(second.EndWriteBatch(), 0);
    EXPECT_EQ(writes, 1);
    EXPECT_EQ(second.EndWriteBatch(), 0); // nothing pending, nothing written
    EXPECT_EQ(writes, 1);

    // The file holds first's later value, second's values, and second's value where both wrote.
    EXPECT_EQ(Stored(L"A", L"one"), 1u);
    EXPECT_EQ(Stored(L"A", L"two"), 2u);
    EXPECT_EQ(Stored(L"B", L"three"), 3u);
    EXPECT_EQ(Stored(L"Shared", L"v"), 20u);
    // The writer's own view now holds the merged file.
    EXPECT_EQ(ReadDword(second, L"A", L"two"), 2u);
}

// The file that a stopped write leaves is FileIoTest's.
TEST_F(RegistryFileTest, AnInterruptedWriteLeavesThePreviousFile) {
    StoreWithOneValue();
    // A write stopped before the rename reports the failure; memory keeps the change pending.
    CRegistryFile store(sandbox.StoreFileW());
    store.SetBeforeReplaceHook([] { return false; });
    EXPECT_EQ(store.SetValue(L"K", L"v", Dword(3)), 995);
    EXPECT_EQ(Stored(L"K", L"v"), 1u);
    EXPECT_EQ(ReadDword(store, L"K", L"v"), 3u);

    store.SetBeforeReplaceHook(nullptr);
    EXPECT_EQ(store.Flush(), 0);
    EXPECT_EQ(Stored(L"K", L"v"), 3u);
}

// The temporary file of a write is FileIoTest's (a name of its own, never a link's target).
TEST_F(RegistryFileTest, LinksPlantedBesideTheStoreLeadNoWriteElsewhere) {
    StoreWithOneValue();
    // The lock file as a link to nowhere: nothing is made there and the write fails instead.
    std::filesystem::remove(sandbox.ConfigFolder() / "Lunavex32.reg.lock");
    std::filesystem::create_symlink(sandbox.Root() / "made-by-lock",
                                    sandbox.ConfigFolder() / "Lunavex32.reg.lock");
    {
        CRegistryFile store(sandbox.StoreFileW());
        EXPECT_NE(store.SetValue(L"K", L"v", Dword(2)), 0);
    }
    EXPECT_FALSE(std::filesystem::exists(sandbox.Root() / "made-by-lock"));
    std::filesystem::remove(sandbox.ConfigFolder() / "Lunavex32.reg.lock");

    // The store as a link into a folder of dot files: the file there is replaced, the link stays.
    const std::filesystem::path dotfiles = sandbox.Root() / "dotfiles" / "lunavex.reg";
    std::filesystem::create_directories(dotfiles.parent_path());
    std::filesystem::rename(sandbox.StoreFile(), dotfiles);
    std::filesystem::create_symlink(dotfiles, sandbox.StoreFile());
    {
        CRegistryFile store(sandbox.StoreFileW());
        EXPECT_EQ(ReadDword(store, L"K", L"v"), 1u);
        EXPECT_EQ(store.SetValue(L"K", L"w", Dword(3)), 0);
    }
    EXPECT_TRUE(std::filesystem::is_symlink(sandbox.StoreFile()));
    EXPECT_EQ(Stored(L"K", L"w"), 3u);

    // Damaged behind the link: the file there is kept aside beside itself, the link stays and
    // the next write makes the file anew where the link points.
    testutil::WriteText(dotfiles, "not a registry file");
    {
        CRegistryFile store(sandbox.StoreFileW());
        EXPECT_FALSE(store.KeyExists(L"K"));
        EXPECT_EQ(ParentPath(store.DamagedFileKeptAs()),
                  FromFileSystemPath(dotfiles.parent_path().string()));
        EXPECT_EQ(store.SetValue(L"K", L"x", Dword(4)), 0);
    }
    EXPECT_TRUE(std::filesystem::is_symlink(sandbox.StoreFile()));
    EXPECT_EQ(Stored(L"K", L"x"), 4u);
    EXPECT_EQ(Stored(L"K", L"w"), std::nullopt);
}

// What is no regular file once links are followed is neither read nor replaced; a regular file
// over the limit is kept aside unread. Either is said once in the log, though a write reads again.
TEST_F(RegistryFileTest, WhatIsNoOrdinaryFileOrTooLargeIsNotReadAndSaidInTheLog) {
    const auto store = sandbox.StoreFile();
    const auto log = sandbox.Root() / "state" / "Harrowmere" / "Lunavex32" / "LOG.txt";
    for (const std::string kind : {"folder", "pipe", "loop", "1 MiB + 1"}) {
        std::filesystem::remove_all(sandbox.ConfigFolder());
        std::filesystem::create_directories(sandbox.ConfigFolder());
        std::wstring reason;
        if (kind == "folder") {
            std::filesystem::create_directory(store);
            LoadResString(reason, strid::kSettingsIsFolder, true);
        }
        if (kind == "pipe") {
            ASSERT_EQ(::mkfifo(store.c_str(), 0600), 0);
            reason = ResultText(hr::kNotOrdinaryFile);
        }
        if (kind == "loop") {
            std::filesystem::create_symlink("Lunavex32.reg", store);
            LoadResString(reason, strid::kSettingsLinkLoop, true);
        }
        if (kind == "1 MiB + 1")
            testutil::WriteText(store, std::string((1u << 20) + 1, 'x'));
        StartLog();
        CRegistryFile registry(sandbox.StoreFileW());
        EXPECT_FALSE(registry.KeyExists(L"K")) << kind;
        const std::wstring said = registry.NotReadMessage();
        const bool kept = kind == "1 MiB + 1";
        EXPECT_EQ(registry.SetValue(L"K", L"v", Dword(1)) == 0, kept) << kind;
        StopLog();
        EXPECT_EQ(XdgSandbox::ReadUtf16File(log), said + L"\r\n") << kind;
        std::wstring expected;
        if (kept)
            FormatResString(expected, strid::kSettingsTooLarge,
                            {L"1048577", L"1048576", registry.DamagedFileKeptAs()});
        else
            FormatResString(expected, strid::kSettingsNotRead, {sandbox.StoreFileW(), reason});
        EXPECT_EQ(said, expected) << kind;
        EXPECT_EQ(sandbox.FilesStartingWith("Lunavex32.reg.damaged-").size(), kept ? 1u : 0u);
        EXPECT_EQ(std::filesystem::is_regular_file(std::filesystem::symlink_status(store)), kept)
            << kind;
    }
}

// A damaged file (what counts as damaged is RegistryExportTest's) is kept aside and reading starts
// empty; the next write makes a new file and leaves the kept one as it was. The kept bytes and the
// sentence that names them are LunavexBatchMainTest's; the log's line is the test above's.
TEST_F(RegistryFileTest, ADamagedFileIsKeptAsideAndReadingStartsEmpty) {
    {
        testutil::WriteText(sandbox.StoreFile(), "Windows Registry Editor Version 5.00\n"
                                                 "[HKEY_CURRENT_USER\\K]\n\"v\"=dword:zz\n");
        CRegistryFile store(sandbox.StoreFileW());
        EXPECT_FALSE(store.KeyExists(L"K"));
        EXPECT_FALSE(std::filesystem::exists(sandbox.StoreFile()));
        std::vector<std::filesystem::path> aside =
            sandbox.FilesStartingWith("Lunavex32.reg.damaged-");
        ASSERT_EQ(aside.size(), 1u);
        EXPECT_EQ(store.DamagedFileKeptAs(), aside[0].wstring());
        // Lunavex32.reg.damaged-YYYYMMDD-HHMMSS
        EXPECT_EQ(aside[0].filename().string().size(),
                  std::string("Lunavex32.reg.damaged-").size() + 15);
        const std::vector<u8> kept = testutil::ReadBytes(aside[0]);
        EXPECT_EQ(store.SetValue(L"K", L"v", Dword(4)), 0);
        EXPECT_EQ(Stored(L"K", L"v"), 4u);
        EXPECT_EQ(testutil::ReadBytes(aside[0]), kept);
        EXPECT_EQ(sandbox.FilesStartingWith("Lunavex32.reg.damaged-").size(), 1u);
    }

    // A file damaged between the read and a write is kept aside by the write as well.
    CRegistryFile store(sandbox.StoreFileW());
    testutil::WriteText(sandbox.StoreFile(), "not a registry file");
    EXPECT_EQ(store.SetValue(L"K", L"w", Dword(5)), 0);
    EXPECT_EQ(sandbox.FilesStartingWith("Lunavex32.reg.damaged-").size(), 2u);
    EXPECT_EQ(Stored(L"K", L"w"), 5u);
    EXPECT_EQ(Stored(L"K", L"v"), std::nullopt);
}

TEST_F(RegistryFileTest, AFileThatCannotBeReadOrWrittenIsNeverReplaced) {
    const std::vector<u8> before = StoreWithOneValue();
    if (::geteuid() != 0) {
        std::filesystem::permissions(sandbox.StoreFile(), std::filesystem::perms::none);
        CRegistryFile store(sandbox.StoreFileW());
        EXPECT_FALSE(store.KeyExists(L"K"));
        EXPECT_EQ(store.SetValue(L"K", L"v", Dword(2)), 5); // access denied
        std::filesystem::permissions(sandbox.StoreFile(), std::filesystem::perms::owner_read |
                                                              std::filesystem::perms::owner_write);
        EXPECT_EQ(testutil::ReadBytes(sandbox.StoreFile()), before);
    }
    // A store whose folder cannot be made is SettingsTest's; one without a path answers 3.
    CRegistryFile nowhere(L"");
    EXPECT_EQ(nowhere.SetValue(L"K", L"v", Dword(3)), 3);
}
