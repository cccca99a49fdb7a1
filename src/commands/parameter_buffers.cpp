// The parameter buffers.
#include "commands/parameter_buffers.h"

char gParamMpathxVal[PARAM_SIZE];
char gParamPathVal[PARAM_SIZE];
char gParamStateVal[PARAM_SIZE];
char gParamGroupVal[PARAM_SIZE];
char gParamChooserVal[PARAM_SIZE];
char gParamWwidVal[PARAM_SIZE];
char gParamAliasVal[PARAM_SIZE];
char gParamIntervalVal[PARAM_SIZE];
char gParamHostportVal[PARAM_SIZE];
int gParamHostInterfaceType = HOST_INTERFACE_SCSI;
