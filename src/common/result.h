// Result records: a numbered code, an English message and the words that fill it.
//
// Every operation that can fail in a way the user must hear about returns the address of one of the records
// below. The records live as long as the process and are filled in place: a record carries the words of the
// last operation that set them. Code 0 is success, 1 to 4 are general failures, 101 and above belong to
// commands.
#pragma once

#include <cstdint>

struct s_ecItems {
    int32_t code;
    char message[257];  // a printf-style template with up to three "%s"
    char items[3][257]; // the words for them, in order; empty unless set
};

// All records: code, name, message, in their order. Two share the code 141, and several are misspelt: both
// are what users and scripts have learned to expect.
#define EC_RECORDS(X)                                                                                        \
    X(0, EC_ok, "Successfully.")                                                                             \
    X(1, EC_no_help, "No help avaliable for [%s].")                                                          \
    X(2, EC_print_help, "Show command help failed.")                                                         \
    X(3, EC_exe_cmd_failed, "Execute system command failed.")                                                \
    X(4, EC_molloc_failed, "Molloc memory space failed.")                                                    \
    X(101, EC_invalid_input, "Invalid input.")                                                               \
    X(102, EC_invalid_cli_name, "Invalid command name [%s].")                                                \
    X(103, EC_invalid_param_name, "Invalid command parameter name [%s].")                                    \
    X(104, EC_invalid_param_value, "Invalid command parameter value [%s].")                                  \
    X(105, EC_invalid_param, "Invalid command parameter [%s].")                                              \
    X(106, EC_miss_idiskx, "Missing deleted velomux.")                                                       \
    X(107, EC_miss_group_chooser, "Missing parameter [-chooser].")                                           \
    X(108, EC_miss_param_val, "Missing value for the parameter [%s].")                                       \
    X(109, EC_param_duped, "Duplicated parameter [%s].")                                                     \
    X(110, EC_parse_cmd_out, "Parse command output failed.")                                                 \
    X(111, EC_miss_device_path_state, "Missing parameter [-device_name] or [-path_alias] or [-state].")      \
    X(112, EC_parse_error_path, "This Path [%s] is not one of the paths for the device.")                    \
    X(113, EC_is_already_online, "This Path [%s] is already online.")                                        \
    X(114, EC_is_already_offline, "This Path [%s] is already offline.")                                      \
    X(115, EC_no_path_alias, "This path_alias [%s] does not exist.")                                         \
    X(116, EC_no_device_name, "Path [%s] of disk [%s] does not exist.")                                      \
    X(117, EC_miss_alias_wwid, "Missing parameters [-alias] and [-wwid].")                                   \
    X(118, EC_miss_alias, "Missing parameter [-alias].")                                                     \
    X(119, EC_miss_wwid, "Missing parameter [-wwid].")                                                       \
    X(120, EC_exist_wwid_alias, "The pair wwid[%s] and alias[%s] has existed.")                              \
    X(121, EC_exist_alias, "The alias[%s] has be configed for other wwid.")                                  \
    X(122, EC_no_wwid, "The specified wwid[%s] does not be configed alias.")                                 \
    X(123, EC_del_failed_for_using, "The path is being used, can not be deleted.")                           \
    X(124, EC_exe_cmd_timeout, "Execute system command timeout.")                                            \
    X(125, EC_wwid_length_error, "Wrong length of parameter [-wwid] value.")                                 \
    X(126, EC_wwid_format_error, "Wrong format of parameter [-wwid] value.")                                 \
    X(127, EC_nvme_is_not_support_online, "The nvme device [%s] is not support online.")                     \
    X(128, EC_nvme_is_not_support_offline, "The nvme device [%s] is not support offline.")                   \
    X(129, EC_alias_length_error, "Wrong length of parameter [-alias] value.")                               \
    X(130, EC_alias_format_error, "Wrong format of parameter [-alias] value.")                               \
    X(131, EC_devicename_length_error, "Wrong length of device name.")                                       \
    X(132, EC_devicename_format_error, "Wrong format of device name.")                                       \
    X(133, EC_no_this_device, "This device [%s] does not exist.")                                            \
    X(134, EC_no_config_info,                                                                                \
      "No [%s] device configuration information found, please execute \"dravik config\" command to "         \
      "configure first.")                                                                                    \
    X(135, EC_os_not_support, "Distribute type is not supported.")                                           \
    X(136, EC_os_not_support_fcnvme, "This OS is not support NVMe over Fabric.")                             \
    X(137, EC_offline_path_fail, "Fail this path [%s] failed.")                                              \
    X(138, EC_online_path_fail, "Reinstate this path [%s] failed.")                                          \
    X(139, EC_need_fisrt_set_scsi, "Need to set -scsi first, and then set parameter [-chooser].")            \
    X(140, EC_need_fisrt_set_nvme, "Need to set -nvme first, and then set parameter [-chooser].")            \
    X(141, EC_parameter_number_error, "Wrong number of parameter, duplicate parameter may exist.")           \
    X(141, EC_set_idisk_error, "Please do not use an alias that starts with idisk.")                         \
    X(142, EC_upper_letter_error, "For the wwid parameter, please use lowercase letters.")                   \
    X(143, EC_alias_wwid_error, "Format error, alias value should be the same as wwid value.")               \
    X(144, EC_miss_device, "Missing parameter [-path_alias].")                                               \
    X(145, EC_miss_interval, "Missing parameter [-interval].")                                               \
    X(146, EC_interval_format_error, "Wrong format of parameter [-interval] value.")

#define EC_DECLARE(code, name, message) extern s_ecItems name;
EC_RECORDS(EC_DECLARE)
#undef EC_DECLARE

// The success of commands that print their own output: all zero, so that `EC_ok` is never touched by them.
extern s_ecItems EC_info_ok;

// Whether `record` tells of a failure. A null record counts as a success.
bool isFailure(const s_ecItems *record);

// Writes "Error(%04d): " and the formatted message of `record` into `out`, at most `size` - 1 characters; the
// message itself is cut at 255. Nothing is written for a null argument or a size of 0.
void getErrorMsg(const s_ecItems *record, char *out, unsigned int size);

// Prints to standard output: the separator; the text of `getErrorMsg`, cut at 255 characters, its control bytes made
// visible, or for code 0 "Command executed successfully."; a newline; the separator. A null record is a success.
void print_ec(const s_ecItems *record);

// Empties the items of `record`, then copies at most 64 characters of each text into the first item, or the
// first two. A null text counts as empty.
void initEcItems1(s_ecItems *record, const char *text);
void initEcItems2(s_ecItems *record, const char *text1, const char *text2);
