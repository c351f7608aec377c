#pragma once
// The commands; each prints to standard output and returns the exit status. They throw Error or GenICam exceptions.

#include "line/Options.h"

namespace tool {

int List(const ListOptions& options);
int Info(const CommonOptions& options);
int Features(const FeatureOptions& options);
int Get(const FeatureOptions& options);
int Set(const FeatureOptions& options);
int Why(const FeatureOptions& options);
int Grab(const GrabOptions& options);
int Events(const EventsOptions& options);
int Chunks(const GrabOptions& options);
int Bench(const GrabOptions& options);
int Watch(const WatchOptions& options);
int Save(const SettingsFileOptions& options);
int Load(const SettingsFileOptions& options);
int Doctor(const DoctorOptions& options);
int View(const ViewOptions& options);
int Xml(const FileOptions& options);
int Gentl(const FileOptions& options);

} // namespace tool
