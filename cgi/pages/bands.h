// SPDX-License-Identifier: MIT
/* The pages of the strict-priority roots and their bands, which the module has none for: the display
 * and the changes that handlers.h calls, as those of the other kinds. A root names three bands, a band
 * names filters; what is stored is a root when it has a band, else a band. The pages do without
 * scripts: after a change the browser is led to the list, and what was refused comes back as a page
 * with the reason and the form as it was filled in. */
#ifndef CGI_PAGES_BANDS_H
#define CGI_PAGES_BANDS_H

/* Prints the whole page, headers included. */
int basic_display(char *id, int mode);

/* A root's save makes the bands that it names and that are not there, empty. Both edit the store in
 * place, keep what was not posted, and print nothing: what they refuse is answered below. */
int basic_save(void);
int basic_update(void);

/* Refuses one that a policy or a root names. */
int basic_delete(char *id);

/* Answers a save or update that the handler refused: why, and the form as it was filled in. */
int answer_refused_bands(void);

/* Answers a delete that the handler refused. */
int answer_kept_band(void);

/* The same page for a form that holds what cannot be stored. */
int answer_ill_formed_bands(const char *sentence);

/* The same for a filter that another took since the form was opened. */
int answer_taken_filter(const char *status, const char *filter, const char *user);

/* Prints the form as it was filled in, with the present revision, into a page that says why. */
void print_posted_bands(void);

#endif
