// SPDX-License-Identifier: GPL-3.0-or-later
import lit from "eslint-plugin-lit";
import typescript from "typescript-eslint";

export default typescript.config(
  ...typescript.configs.recommended,
  lit.configs["flat/recommended"],
  {
    files: ["src/**/*.ts"],
    rules: {
      eqeqeq: "error",
      "no-console": "error",
      "lit/no-template-arrow": "off",
      // The page's policy refuses style attributes, and markup is never made from text.
      "lit/no-template-map": "off",
      "no-restricted-imports": ["error", { patterns: ["lit/directives/unsafe-*", "lit/directives/style-map*"] }],
    },
  },
);
