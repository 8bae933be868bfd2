// What the command line tells the engine, checked before anything is started. All throw Failure(kExitUsage), or
// kExitInput where a folder is missing.
#pragma once

#include <string>

#include "cli/option_table.h"
#include "common/options.h"

namespace vanta_run {

// Lists of NAME=NUMBER, and of NAME=on or off.
void ReadBeauty(const std::string &value, Options &options);
void ReadDeform(const std::string &value, Options &options);
void ReadSlim(const std::string &value, Options &options);
void ReadStages(const std::string &value, Options &options);

// FILE or FILE=INTENSITY.
LookupOption ReadLookup(const std::string &value);
// The folder of an effect, absolute; it holds an effect.json.
std::string ReadEffectFolder(const std::string &value);
// DIR or DIR=INTENSITY.
MakeupOption ReadMakeup(const std::string &value);
// PART=RRGGBB or PART=RRGGBB,INTENSITY.
MakeupOption ReadMakeupColor(const std::string &value);

// The names that these lists know, for the help.
std::vector<OptionItem> BeautyItems();
std::vector<OptionItem> DeformItems();
std::vector<OptionItem> SlimItems();
std::vector<OptionItem> StageItems();
std::vector<OptionItem> MakeupPartItems();
// "NAME=" of each, for completion.
std::vector<std::string> WordsOf(const std::vector<OptionItem> &items);

}  // namespace vanta_run
