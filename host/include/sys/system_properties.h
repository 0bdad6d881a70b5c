// SPDX-License-Identifier: Apache-2.0
/// @file
/// The limits of system properties, as `cutils/properties.h` wants them. The host's properties live
/// inside the process: see `property_get` and `property_set` there. Before `property_set` names a
/// property, an environment variable of its name gives its value.
#ifndef UPSCALER_HOST_SYS_SYSTEM_PROPERTIES_H
#define UPSCALER_HOST_SYS_SYSTEM_PROPERTIES_H

/// Traditional length of a name; longer ones are accepted.
#define PROP_NAME_MAX 32
/// Size of a value in bytes, its terminating zero included.
#define PROP_VALUE_MAX 92

#endif  // UPSCALER_HOST_SYS_SYSTEM_PROPERTIES_H
