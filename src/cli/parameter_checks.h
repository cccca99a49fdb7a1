// The checks of the parameters of the administration commands.
//
// Parameters are name/value pairs behind the command name; only `delete` and `query` take a positional device
// name. `checkCliParams` runs before the command and leaves the values in commands/parameter_buffers.h.
#pragma once

#include "common/result.h"

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
