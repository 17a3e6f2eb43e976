// Where hive files live: the directory that TESSEL_REGISTRY_DIR names or the machine and user
// defaults, each hive's file name, and the making of the directory by a hive's first write.
#pragma once

#include <cstdint>
#include <string>

#include "registry/Records.h"

namespace TesselPlatform::Registry {

// The hive's database file, from the environment as it is now. A hive asks once, at its first
// use in the process, so that a process keeps one store whatever it does to its environment.
std::string HivePath(HiveId id);

// Makes the directory that will hold the hive file at path, and its parents: the machine
// hive's readable by every user, as HKEY_LOCAL_MACHINE is, a user hive's by its owner alone.
// A directory that can't be made shows when the database can't be opened.
void MakeHiveDirectory(HiveId id, const std::string& path);

// Whether a hive file is there to open: ERROR_SUCCESS, ERROR_FILE_NOT_FOUND when there is none
// (the hive reads as empty until its first write), or ERROR_ACCESS_DENIED when the file system
// won't say.
LONG FindHiveFile(const std::string& path);

// Why the hive file at path, or the files SQLite keeps beside it (its "-wal" and "-shm"), could
// not be opened or made: ERROR_ACCESS_DENIED where the file system refuses this user, and
// ERROR_CANTOPEN for anything else, such as a directory where the file should be. An existing
// hive that can't be opened must never look empty.
LONG WhyHiveWontOpen(const std::string& path);

// What a hive file at rest looks like to stat: any write to it, or its replacement, changes it.
struct FileStamp {
    std::uint64_t words[7] = {};
    bool operator==(const FileStamp& other) const;
};

// Whether the hive file at path is at rest where this user can't make the files beside it: it
// is readable, there is no "-wal" beside it, and its directory refuses this user's writes. stamp
// gets the file as it is now.
bool AtRestInClosedDirectory(const std::string& path, FileStamp& stamp);

// Whether the hive file is still as stamp saw it, with no "-wal" beside it: no writer has come
// since. A writer makes the "-wal" before it changes anything, and keeps it.
bool StillAtRest(const std::string& path, const FileStamp& stamp);

} // namespace TesselPlatform::Registry
