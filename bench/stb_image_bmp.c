/* stb_image's BMP decoder, the baseline of bitmap_bench (Debian's libstb-dev). */
#define STB_IMAGE_IMPLEMENTATION
#define STBI_ONLY_BMP
#include <stb/stb_image.h>
