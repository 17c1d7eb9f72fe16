/* Controller commands: limits, frames, state and software queries and the other families. */
#ifndef ZQ_COMMANDS_H
#define ZQ_COMMANDS_H

#include "zq_api.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* ZQ_COMMANDS_H */
