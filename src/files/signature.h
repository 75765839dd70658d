// File signatures: the MD5 of a file's bytes as 32 lower-case hex digits.
#pragma once
#include <cstdint>
#include <string>

struct MD5_CTX {
  uint32_t state[4];
  uint32_t count[2];        // bit count, low word first
  unsigned char buffer[64];
  unsigned char digest[16];
};

void MD5Init(MD5_CTX* context);
void MD5Update(MD5_CTX* context, const unsigned char* input, unsigned int length);
void MD5UpdateWide(MD5_CTX* context, const unsigned char* input, uint32_t length);
void MD5Final(MD5_CTX* context);

int calc_file_md5(const std::string& path, std::string& sig);
