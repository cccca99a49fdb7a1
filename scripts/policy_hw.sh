#!/bin/bash -p
# Shows or sets the path policy of the HUAWEI arrays in /etc/velomux.conf.
# usage: policy_hw.sh query | policy_hw.sh set GROUP SELECTOR
# Promise: see lib/policy.sh; the file changes at once or not at all, and nothing in it but the two values.
[[ $- == *e*p*u* ]] || POSIXLY_CORRECT=1 # lib/start.sh tells why
LIB=${BASH_SOURCE[0]%"${BASH_SOURCE[0]##*/}"}lib
. "$LIB/start.sh"
source "$LIB/conf.sh"
source "$LIB/policy.sh"

policy_main huawei "$@"
