// SPDX-License-Identifier: GPL-2.0
/* A sound card without sound: the 77 numbered controls of a codec. */

#include "ambad.h"

#include <linux/module.h>
#include <sound/control.h>
#include <sound/core.h>

#define CONTROLS 77
#define LOUDEST 127

static struct snd_card *card;
static long values[CONTROLS + 1];

/* Numbers start at 1. */
static bool is_switch(unsigned int number) {
  return number == 64 || number == 77;
}

static int describe(struct snd_kcontrol *control, struct snd_ctl_elem_info *info) {
  const bool on_off = is_switch(control->id.numid);
  info->type = on_off ? SNDRV_CTL_ELEM_TYPE_BOOLEAN : SNDRV_CTL_ELEM_TYPE_INTEGER;
  info->count = 1;
  info->value.integer.max = on_off ? 1 : LOUDEST;
  return 0;
}

static int get(struct snd_kcontrol *control, struct snd_ctl_elem_value *value) {
  value->value.integer.value[0] = values[control->id.numid];
  return 0;
}

static int put(struct snd_kcontrol *control, struct snd_ctl_elem_value *value) {
  const unsigned int number = control->id.numid;
  const long wanted = value->value.integer.value[0];
  const bool is_new = wanted != values[number];
  if (wanted < 0 || wanted > (is_switch(number) ? 1 : LOUDEST))
    return -EINVAL;
  values[number] = wanted;
  ambad_event("mixer: %u = %ld", number, wanted);
  return is_new;
}

static int add_control(unsigned int number) {
  char name[SNDRV_CTL_ELEM_ID_NAME_MAXLEN];
  const struct snd_kcontrol_new control = {
      .iface = SNDRV_CTL_ELEM_IFACE_MIXER, .name = name, .info = describe, .get = get, .put = put};
  snprintf(name, sizeof name, "Control %u", number);
  return snd_ctl_add(card, snd_ctl_new1(&control, NULL));
}

static int add_controls(void) {
  strscpy(card->driver, "ambad", sizeof card->driver);
  strscpy(card->shortname, "codec", sizeof card->shortname);
  strscpy(card->longname, "codec", sizeof card->longname);
  for (unsigned int number = 1; number <= CONTROLS; ++number) {
    const int result = add_control(number);
    if (result < 0)
      return result;
  }
  return snd_card_register(card);
}

int ambad_start_codec(void) {
  int result = snd_card_new(ambad_device(), -1, "codec", THIS_MODULE, 0, &card);
  if (result < 0)
    return result;
  result = add_controls();
  if (result < 0)
    snd_card_free(card);
  return result;
}

void ambad_stop_codec(void) {
  snd_card_free(card);
}
