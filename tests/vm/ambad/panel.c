// SPDX-License-Identifier: GPL-2.0
/* A 16-bit frame buffer of any size, with padded lines and several screens; without a width there is none. */

#include "ambad.h"

#include <linux/fb.h>
#include <linux/module.h>
#include <linux/vmalloc.h>

static unsigned int width, height, padding, screens = 1;
module_param(width, uint, 0444);
MODULE_PARM_DESC(width, "pixels per line; 0: no frame buffer");
module_param(height, uint, 0444);
MODULE_PARM_DESC(height, "visible lines");
module_param(padding, uint, 0444);
MODULE_PARM_DESC(padding, "bytes after each line");
module_param(screens, uint, 0444);
MODULE_PARM_DESC(screens, "screens in frame buffer memory");

static int blank(int mode, struct fb_info *info) {
  ambad_event("fb0: blank %d", mode);
  return 0;
}

static int pan(struct fb_var_screeninfo *variable, struct fb_info *info) {
  ambad_event("fb0: pan %u %u", variable->xoffset, variable->yoffset);
  return 0;
}

static int map(struct fb_info *info, struct vm_area_struct *area) {
  return remap_vmalloc_range(area, info->screen_buffer, area->vm_pgoff);
}

/* The text console draws nothing. */
static void no_fill(struct fb_info *info, const struct fb_fillrect *fill) {}
static void no_copy(struct fb_info *info, const struct fb_copyarea *copy) {}
static void no_image(struct fb_info *info, const struct fb_image *image) {}

static const struct fb_ops operations = {
    .owner = THIS_MODULE,
    .fb_blank = blank,
    .fb_pan_display = pan,
    .fb_mmap = map,
    .fb_fillrect = no_fill,
    .fb_copyarea = no_copy,
    .fb_imageblit = no_image,
};

static struct fb_info *panel;

static void describe(struct fb_info *info) {
  info->fbops = &operations;
  info->var = (struct fb_var_screeninfo){
      .xres = width,
      .yres = height,
      .xres_virtual = width,
      .yres_virtual = height * screens,
      .bits_per_pixel = 16,
      .red = {11, 5},
      .green = {5, 6},
      .blue = {0, 5},
  };
  info->fix = (struct fb_fix_screeninfo){
      .id = "ambad",
      .type = FB_TYPE_PACKED_PIXELS,
      .visual = FB_VISUAL_TRUECOLOR,
      .ypanstep = 1,
      .line_length = width * 2 + padding,
  };
  info->fix.smem_len = PAGE_ALIGN(info->fix.line_length * info->var.yres_virtual);
}

static int register_panel(struct fb_info *info) {
  int result = -ENOMEM;
  describe(info);
  info->screen_buffer = vmalloc_user(info->fix.smem_len);
  if (info->screen_buffer != NULL)
    result = register_framebuffer(info);
  if (result != 0)
    vfree(info->screen_buffer);
  return result;
}

int ambad_start_panel(void) {
  int result;
  if (width == 0)
    return 0;
  panel = framebuffer_alloc(0, ambad_device());
  if (panel == NULL)
    return -ENOMEM;
  result = register_panel(panel);
  if (result != 0)
    framebuffer_release(panel);
  return result;
}

void ambad_stop_panel(void) {
  if (panel == NULL)
    return;
  unregister_framebuffer(panel);
  vfree(panel->screen_buffer);
  framebuffer_release(panel);
}
