// What the user gave a command: the values that the parameter checks (cli/parameter_checks.h) have accepted and
// the commands read.
#pragma once

// Up to 256 characters and the terminator; longer values are cut. Empty at process start.
constexpr unsigned int PARAM_SIZE = 257;

extern char gParamMpathxVal[PARAM_SIZE]; // device, an alias or a WWID: delete, query, setstate, devstats
extern char gParamPathVal[PARAM_SIZE];   // path device name: setstate "-device_name"
extern char gParamStateVal[PARAM_SIZE];  // "online" or "offline": setstate "-state"
extern char gParamGroupVal[PARAM_SIZE];  // "multibus": setpathpolicy
extern char
    gParamChooserVal[PARAM_SIZE];       // the kernel's selector (path_selectors.h): setpathpolicy "-chooser"
extern char gParamWwidVal[PARAM_SIZE];  // WWID: setalias, delalias "-wwid"
extern char gParamAliasVal[PARAM_SIZE]; // alias: setalias "-alias"
extern char gParamIntervalVal[PARAM_SIZE]; // seconds between two reports, digits: devstats "-interval"
extern char gParamHostportVal[PARAM_SIZE]; // host port; filled by no check

// Which arrays setpathpolicy is about.
constexpr int HOST_INTERFACE_SCSI = 0; // "-scsi", also the default
constexpr int HOST_INTERFACE_NVME = 1; // "-nvme"
extern int gParamHostInterfaceType;
