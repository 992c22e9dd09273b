/* Peer for bench_iphoto_parse: reads a property-list XML file with libplist.
 *
 *   bench_plist_peer FILE
 *
 * Prints "elapsed=<seconds> entries=<photos in Master Image List>"; the time
 * covers reading the file and plist_from_xml, not freeing the tree. */

#include <plist/plist.h>

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

static double now(void)
{
    struct timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return (double)ts.tv_sec + (double)ts.tv_nsec / 1e9;
}

int main(int argc, char** argv)
{
    if (argc != 2) {
        fprintf(stderr, "usage: %s FILE\n", argv[0]);
        return 2;
    }
    double start = now();
    FILE* in = fopen(argv[1], "rb");
    if (!in) {
        perror(argv[1]);
        return 1;
    }
    fseek(in, 0, SEEK_END);
    long size = ftell(in);
    fseek(in, 0, SEEK_SET);
    if (size < 0 || (unsigned long)size > UINT32_MAX) {
        fprintf(stderr, "%s: unsupported size\n", argv[1]);
        fclose(in);
        return 1;
    }
    char* bytes = malloc((size_t)size + 1);
    if (!bytes || fread(bytes, 1, (size_t)size, in) != (size_t)size) {
        fprintf(stderr, "%s: cannot read\n", argv[1]);
        fclose(in);
        free(bytes);
        return 1;
    }
    fclose(in);

    plist_t root = NULL;
    plist_from_xml(bytes, (uint32_t)size, &root);
    double elapsed = now() - start;

    unsigned entries = 0;
    if (root && plist_get_node_type(root) == PLIST_DICT) {
        plist_t photos = plist_dict_get_item(root, "Master Image List");
        if (photos && plist_get_node_type(photos) == PLIST_DICT)
            entries = plist_dict_get_size(photos);
    }
    printf("elapsed=%.6f entries=%u\n", elapsed, entries);
    plist_free(root);
    free(bytes);
    return root ? 0 : 1;
}
