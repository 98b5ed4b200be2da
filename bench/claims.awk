# SPDX-License-Identifier: MIT
# Of the table of claims, as bench/claims and the test of the texts want it, by the variable step:
#     words    each row is whole, and its words stand in its file
#     figures  each figure with a unit in the texts that the variable files names stands in the
#              words of a row; what is fenced by ``` is an example
#     judge    each claim beside what was measured; before the table come files of "NAME<tab>VALUE",
#              named for their source; extent is quick or all, format lines or tsv

BEGIN {
	FS = OFS = "\t"
	n = split("B 1 bytes 1 KB 1000 KiB 1024 MB 1000000 MiB 1048576 GB 1000000000 GiB 1073741824 " \
		"ms 1 millisecond 1 milliseconds 1 s 1000 second 1000 seconds 1000 minute 60000 minutes 60000 hour 3600000 " \
		"hours 3600000", word, " ")
	for (i = 1; i < n; i += 2)
		factor[word[i]] = word[i + 1] # measured are bytes and milliseconds
	n = split("one two three four five six seven eight nine ten", word, " ")
	for (i = 1; i <= n; i++)
		number_of[word[i]] = i
	number_of["a"] = number_of["an"] = 1
	# A share is nearly always a setting.
	figure = "[0-9][0-9.,]* ?(KB|KiB|MB|MiB|GB|GiB|ms|s|seconds?|minutes?|hours?|times)" \
		"[^A-Za-z0-9]|(two|three|four|five|six|seven|eight|nine|ten) (seconds|minutes|hours)"
}

function fail(words)
{
	print "claims: " words
	failed = 1
}

# The text as one line with single blanks, however it is wrapped.
function text_of(file,    line, all)
{
	if (!(file in texts)) {
		while ((getline line < file) > 0)
			all = all " " line
		close(file)
		gsub(/[ \t]+/, " ", all)
		texts[file] = all
	}
	return texts[file]
}

function without_braces(words)
{
	gsub(/[{}]/, "", words)
	return words
}

function check_row()
{
	if (NF != 4)
		fail(FILENAME ":" FNR ": " NF " columns in place of four")
	else if (gsub(/\{/, "{", $2) != 1 && $4 != "given")
		fail(FILENAME ":" FNR ": not one figure in braces")
	else if ($4 !~ /^(at most|under|at least|exactly|about [0-9]+%|given)$/)
		fail(FILENAME ":" FNR ": no such relation: " $4)
	else if (!index(text_of($1), without_braces($2)))
		fail($1 " does not say: " without_braces($2))
}

# Takes all that stands in a row out of a text, and tells the figures that are left.
function tell_figures(file,    line, all, fenced, row, at)
{
	while ((getline line < file) > 0) {
		if (line ~ /^ *```/)
			fenced = !fenced
		else if (!fenced)
			all = all " " line
	}
	close(file)
	gsub(/[ \t]+/, " ", all)
	for (row = 1; row <= rows; row++) {
		if (of_file[row] != file)
			continue
		while ((at = index(all, said[row])))
			all = substr(all, 1, at - 1) " - " substr(all, at + length(said[row]))
	}
	while (match(all, figure)) {
		fail(file ": in no row of the table: " \
			substr(all, RSTART > 40 ? RSTART - 40 : 1, RLENGTH + 80))
		all = substr(all, RSTART + RLENGTH)
	}
}

# A claim "3 or 4" holds when one of them does.
function compare(value, claimed, relation, scale,    options, n, i, number, decimals, part)
{
	n = split(claimed, options, " or ")
	for (i = 1; i <= n; i++) {
		if (relation == "exactly" && value == options[i])
			return 1
		number = options[i] in number_of ? number_of[options[i]] : options[i]
		gsub(/,/, "", number)
		decimals = index(number, ".") ? length(number) - index(number, ".") : 0
		if (relation == "exactly" && sprintf("%." decimals "f", value / scale) == number ||
		    relation == "at most" && value / scale <= number + 0 ||
		    relation == "under" && value / scale < number + 0 ||
		    relation == "at least" && value / scale >= number + 0)
			return 1
		if (relation ~ /^about/) {
			split(relation, part, /[ %]/)
			if (value / scale >= number * (1 - part[2] / 100) &&
			    value / scale <= number * (1 + part[2] / 100))
				return 1
		}
	}
	return 0
}

function judge(    claimed, unit, verdict, shown, scale)
{
	claimed = $2
	sub(/^[^{]*\{/, "", claimed)
	unit = claimed
	sub(/\}.*/, "", claimed)
	sub(/^[^}]*\}[ ]?/, "", unit)
	match(unit, /^[A-Za-z%]*/)
	unit = substr(unit, 1, RLENGTH)
	scale = unit in factor ? factor[unit] : 1
	if (!(unit in factor) && unit != "%" && unit != "times")
		unit = ""
	shown = ""
	if (!($3 in measured) && $3 ~ /^fresh_/ && extent == "quick")
		verdict = "left out"
	else if (!($3 in measured))
		verdict = "NOT MEASURED"
	else {
		verdict = compare(measured[$3], claimed, $4, scale) ? "holds" : "DOES NOT HOLD"
		shown = scale == 1 ? measured[$3] : sprintf("%.4g", measured[$3] / scale)
	}
	counts[verdict]++
	if (format == "tsv")
		print verdict, shown, claimed, unit, $4, $1, without_braces($2)
	else
		printf "%-13s  %14s  %-22s  %s: %s\n", verdict, shown (shown == "" ? "" : " " unit),
			$4 " " claimed, $1, without_braces($2)
}

/^#/ || !NF { next }
step == "words" { check_row() }
step == "figures" { of_file[++rows] = $1; said[rows] = without_braces($2) }
step == "judge" && FILENAME ~ /\/measured\// {
	source = FILENAME
	sub(/.*\//, "", source)
	measured[source " " $1] = $2
	next
}
step == "judge" && $4 != "given" {
	if (!headed++ && format == "lines")
		printf "%-13s  %14s  %-22s  %s\n", "", "measured", "claimed", "where"
	judge()
}

END {
	if (step == "figures")
		for (i = split(files, file, " "); i > 0; i--)
			tell_figures(file[i])
	if (step == "judge") {
		if (format == "lines")
			printf "\n%d claims hold, %d do not, %d could not be measured, %d were left out\n",
				counts["holds"], counts["DOES NOT HOLD"], counts["NOT MEASURED"],
				counts["left out"]
		failed = counts["DOES NOT HOLD"] + counts["NOT MEASURED"] > 0
	}
	exit failed
}
