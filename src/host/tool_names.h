// The tools, scripts and files that the administration commands work with, by the system's own names.
#pragma once

constexpr char CMD_systemctl[] = "systemctl";
constexpr char CMD_service[] = "service";
constexpr char CMD_sh[] = "bash";
constexpr char CMD_velomux[] = "velomux";
constexpr char CMD_dravikd[] = "/etc/init.d/dravikd"; // used by no command
constexpr char CMD_cp[] = "\\cp -fp";                 // the backslash passes over a shell's alias for cp
constexpr char CMD_chmod[] = "chmod";
constexpr char CMD_sed[] = "sed";
constexpr char CMD_echo[] = "echo";
constexpr char CMD_cat[] = "cat";
constexpr char CONF_FILE[] = "/etc/velomux.conf";

// Policy of the maker's SCSI arrays, of the HUAWEI and HITACHI arrays, of the maker's NVMe arrays.
constexpr char CMD_POLICY_FILE[] = "/usr/bin/dravik-script/policy.sh";
constexpr char CMD_HW_POLICY_FILE[] = "/usr/bin/dravik-script/policy_hw.sh";
constexpr char CMD_RL_POLICY_FILE[] = "/usr/bin/dravik-script/policy_rl.sh";
constexpr char CMD_NVME_POLICY_FILE[] = "/usr/bin/dravik-script/policy_nvme.sh";
constexpr char CMD_G2CONFIG_FILE[] = "/usr/bin/dravik-script/g2mpiocfg.sh";
constexpr char CMD_G2SCAN_FILE[] = "/usr/bin/dravik-script/g2dravikscan.sh";
constexpr char CMD_CONNECT_NVME_FILE[] = "/usr/bin/dravik-script/discoverfcnvme.sh";
constexpr char SH_path_state_record[] = "/usr/bin/dravik-script/path_state_record.sh";
constexpr char SH_run_all_offline_path[] = "/usr/bin/dravik-script/run_all_offline_path.sh";
constexpr char SH_alias[] = "/usr/bin/dravik-script/alias.sh";
constexpr char SH_fcport[] = "/usr/bin/dravik-script/fc_info.sh";
constexpr char SH_softlink[] = "/usr/bin/dravik-script/softlink.sh";
constexpr char SH_lvmlibs[] = "/usr/bin/dravik-script/checklvm.sh";
constexpr char SH_dravikd[] = "/usr/bin/dravik-script/checkdravikd.sh";

constexpr char CONF_DEFAULT_GROUP[] = "failover";
// Misspelt on purpose: it is written to the configuration as it stands.
constexpr char CONF_DEFAULT_CHOOSER[] = "rount-robin";
constexpr char CONF_DEFAULT_STATE[] = "online";
