/* Decodes an export with the code that asn1c generates from answer.asn1.
 *
 * Usage: asn1c-decode FILE ROUNDS
 * Prints the least seconds of processor time that a round took. What was decoded is freed outside of it.
 */
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

#include "Response.h"

static double decode(const void* bytes, size_t size) {
  Response_t* response = NULL;
  const clock_t begin = clock();
  const asn_dec_rval_t result = ber_decode(NULL, &asn_DEF_Response, (void**)&response, bytes, size);
  const clock_t end = clock();
  if (result.code != RC_OK || result.consumed != size) {
    fprintf(stderr, "ber_decode: code %d at byte %zu of %zu\n", (int)result.code, result.consumed, size);
    exit(1);
  }
  ASN_STRUCT_FREE(asn_DEF_Response, response);
  return (double)(end - begin) / CLOCKS_PER_SEC;
}

int main(int count, char** arguments) {
  if (count < 3) {
    return 2;
  }
  FILE* file = fopen(arguments[1], "rb");
  if (file == NULL || fseek(file, 0, SEEK_END) != 0) {
    perror(arguments[1]);
    return 1;
  }
  const size_t size = (size_t)ftell(file);
  void* bytes = malloc(size);
  rewind(file);
  if (fread(bytes, 1, size, file) != size) {
    perror(arguments[1]);
    return 1;
  }
  double best = decode(bytes, size);
  for (int round = 1; round < atoi(arguments[2]); ++round) {
    const double seconds = decode(bytes, size);
    best = seconds < best ? seconds : best;
  }
  printf("%.6f\n", best);
  return 0;
}
