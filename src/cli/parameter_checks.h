// The parameters of the administration commands: their checks, and the buffers and tables that handlers read.
//
// Parameters are name/value pairs behind the command name; only `delete` and `query` take a positional device
// name. `checkCliParams` runs before the command and leaves the values in the buffers below.
#pragma once

#include "common/result.h"

// ---- what was given

// Up to 256 characters and the terminator; longer values are cut. Empty at process start.
constexpr unsigned int PARAM_SIZE = 257;

extern char gParamMpathxVal[PARAM_SIZE]; // device name, an alias or a WWID: delete, query, setstate, devstats
extern char gParamPathVal[PARAM_SIZE];   // path device name: setstate "-device_name"
extern char gParamStateVal[PARAM_SIZE];  // "online" or "offline": setstate "-state"
extern char gParamGroupVal[PARAM_SIZE];  // "multibus": setpathpolicy
extern char
    gParamChooserVal[PARAM_SIZE];       // kernel selector, a row of `gChooserVals`: setpathpolicy "-chooser"
extern char gParamWwidVal[PARAM_SIZE];  // WWID: setalias, delalias "-wwid"
extern char gParamAliasVal[PARAM_SIZE]; // alias: setalias "-alias"
extern char gParamIntervalVal[PARAM_SIZE]; // seconds between two reports, digits: devstats "-interval"
extern char gParamHostportVal[PARAM_SIZE]; // host port; filled by no check

// Which arrays setpathpolicy is about.
constexpr int HOST_INTERFACE_SCSI = 0; // "-scsi", also the default
constexpr int HOST_INTERFACE_NVME = 1; // "-nvme"
extern int gParamHostInterfaceType;

// ---- the names of the path selectors, read in parallel; each table ends with an empty row

constexpr unsigned int PARAM_ROW_SIZE = 256;

extern const char gChooserVals[4][PARAM_ROW_SIZE];        // the kernel's, as stored: "round-robin"
extern const char gQueryChooserVals[4][PARAM_ROW_SIZE];   // the kernel's, as listed: "round-robin 0"
extern const char gChooserDisplayVals[4][PARAM_ROW_SIZE]; // the product's, as typed and shown

// ---- the checks

// Checks the parameters of one command line. `argv` holds the program name, the command name and the
// parameters, `argc` counts them all; a null element counts as an empty text. Each check returns at its first
// failure; buffers filled before it keep their values. Nothing is printed or logged.
//
//   command         parameters                                   answers besides EC_ok
//   delete          DEVICE                                       EC_miss_idiskx, EC_parameter_number_error, (d), (l)
//   query           [DEVICE]                                     EC_parameter_number_error, (d), (l)
//   devstats        -path_alias DEVICE  -interval SECONDS        (p), (d), EC_param_duped [name],
//                                                                EC_parameter_number_error,
//                                                                EC_interval_format_error
//   setstate        -path_alias DEVICE  -device_name PATH        (p), EC_miss_device_path_state,
//                   -state online|offline                        EC_parameter_number_error,
//                                                                EC_invalid_param_value [value]
//   setpathpolicy   [-scsi|-nvme] -chooser POLICY                (p), EC_miss_group_chooser,
//                                                                EC_need_fisrt_set_scsi, EC_need_fisrt_set_nvme,
//                                                                EC_param_duped [value],
//                                                                EC_invalid_param_value [value],
//                                                                EC_parameter_number_error
//   setalias, delalias                                           see below
//   any other       none                                         EC_invalid_param [first parameter]
//
//   (d) EC_devicename_format_error    (l) EC_devicename_length_error, past 60 characters
//   (p) EC_invalid_param_name [name], EC_miss_param_val [name]
s_ecItems *checkCliParams(int argc, const char *const *argv);

// "setalias -wwid WWID -alias ALIAS". A WWID is "3" and 32 lower-case hexadecimal digits (an NAA identifier as
// the kernel's tools write it) or "eui." and 32 of them; an alias is the WWID itself or a name that does not
// begin with the reserved "idisk".
// EC_ok, EC_miss_alias_wwid, EC_miss_wwid, EC_miss_alias, EC_parameter_number_error, EC_wwid_length_error,
// EC_wwid_format_error, EC_upper_letter_error, EC_alias_length_error (past 60 characters),
// EC_alias_format_error, EC_alias_wwid_error, EC_set_idisk_error; EC_invalid_param_name, EC_miss_param_val and
// EC_param_duped with the name.
s_ecItems *checkSetAliasParams(int argc, const char *const *argv);

// "delalias -wwid WWID". The form of the WWID is not looked at here; who runs the command answers for it.
// EC_ok, EC_miss_wwid, EC_parameter_number_error; EC_invalid_param_name and EC_miss_param_val with the name.
s_ecItems *checkDelAliasParams(int argc, const char *const *argv);

// ---- character tests over ASCII; a null text counts as empty

// Whether every character is 0 to 9, a hexadecimal digit of either case, a letter or digit. True for "".
bool isDigit(const char *text);
bool isHex(const char *text);
bool isDigitorOrLetter(const char *text);

// Whether at least one character is an upper-case letter, despite the name; so false for "".
bool isUpperLetter(const char *text);
