// Where hive files live: the directory that TESSEL_REGISTRY_DIR names or the machine and user
// defaults, each hive's file name, and the making of the directory by a hive's first write.
#pragma once

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

// Whether the file system refuses this user the making of files beside path.
bool DirectoryRefusesWrites(const std::string& path);

} // namespace TesselPlatform::Registry
