/* A fake Direct3D 11 and DXGI: one factory, some adapters, one device with its context, a staging texture, and a
 * shared texture with its keyed mutex. In C, where an interface is a table and what nobody calls may stay empty.
 * Threads: one. */
#ifndef VANTA_TEST_COM_DOUBLES_H
#define VANTA_TEST_COM_DOUBLES_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define COM_MOST_ADAPTERS 4

/* Results are HRESULTs. Zeroed, every call succeeds and there is no adapter. */
struct com_script {
  int32_t factory_result;
  int adapters;
  uint32_t vendor_ids[COM_MOST_ADAPTERS];
  uint32_t device_ids[COM_MOST_ADAPTERS];
  int32_t desc_result; /* of every adapter */
  int32_t device_result;
  int32_t removed_reason;
  int32_t texture_result;
  int32_t open_result;
  int open_gives_null;
  int32_t query_result;
  int32_t acquire_result;
  int32_t release_result;
  int32_t map_result;
};

/* Of CreateTexture2D's argument. */
struct com_texture_desc {
  uint32_t width, height, mip_levels, array_size, format, sample_count, sample_quality, usage, bind_flags, cpu_access,
      misc_flags;
  int with_data;
};

extern struct com_script com_script;

void com_reset(void);
/* Every call in order, one a line. */
const char *com_calls(void);
/* References that are held on all objects together. */
int com_references(void);
struct com_texture_desc com_texture_desc(void);

/* What the two DLLs export. */
int32_t com_create_factory(const void *iid, void **factory);
int32_t com_create_device(void *adapter, int driver_type, void *software, unsigned flags, const void *levels,
                          unsigned level_count, unsigned sdk_version, void **device, void *level, void **context);

/* With a reference for the caller. */
void *com_device(void);
void *com_context(void);
void *com_staging(void);

/* What a mapped staging texture shows. */
#define COM_PITCH 64u
extern unsigned char com_pixels[256];

#ifdef __cplusplus
}
#endif
#endif
