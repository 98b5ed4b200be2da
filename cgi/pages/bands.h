/* The pages of the strict-priority roots and their bands, which the module has none for: the display
 * and the changes that handlers.h calls, as those of the other kinds. */
#ifndef CGI_PAGES_BANDS_H
#define CGI_PAGES_BANDS_H

int basic_display(char *id, int mode);
int basic_save(void);
int basic_update(void);
int basic_delete(char *id);

#endif
