// Lint rules for the page (TypeScript, with types) and for the Node scripts around it.
import js from '@eslint/js';
import globals from 'globals';
import tseslint from 'typescript-eslint';

const common = {
  curly: ['error', 'multi-line'],
  eqeqeq: 'error',
  'no-implicit-coercion': 'error',
  'no-shadow': 'off',
  'no-var': 'error',
  'object-shorthand': 'error',
  'prefer-const': 'error',
  'prefer-template': 'error',
  // File names are hostile input, and the tests feed such names to the page.
  'no-control-regex': 'off',
};

const unused = { argsIgnorePattern: '^_', varsIgnorePattern: '^_', caughtErrors: 'all' };

export default tseslint.config(
  { ignores: ['build/**', 'node_modules/**'] },
  { linterOptions: { reportUnusedDisableDirectives: 'error' } },
  {
    files: ['src/page/**/*.ts'],
    extends: [js.configs.recommended, ...tseslint.configs.recommendedTypeChecked],
    languageOptions: { parserOptions: { project: 'src/page/tsconfig.json', tsconfigRootDir: import.meta.dirname } },
    rules: {
      ...common,
      'max-lines-per-function': ['error', { max: 60, skipBlankLines: true, skipComments: true }],
      // Text is only ever set as text.
      'no-restricted-properties': ['error', ...['innerHTML', 'outerHTML', 'insertAdjacentHTML', 'write', 'writeln']
        .map((property) => ({ property, message: 'Build nodes with el() instead of markup.' }))],
      '@typescript-eslint/consistent-type-imports': ['error', { fixStyle: 'inline-type-imports' }],
      '@typescript-eslint/explicit-module-boundary-types': 'error',
      '@typescript-eslint/no-deprecated': 'error',
      '@typescript-eslint/no-shadow': 'error',
      '@typescript-eslint/no-unused-vars': ['error', unused],
      '@typescript-eslint/prefer-nullish-coalescing': 'off', // '' and 0 often mean "none" in the program's answers
      '@typescript-eslint/switch-exhaustiveness-check': ['error', { considerDefaultExhaustiveForUnions: true }],
      '@typescript-eslint/naming-convention': ['error',
        { selector: 'variable', format: ['camelCase', 'UPPER_CASE'] },
        { selector: 'function', format: ['camelCase'] },
        { selector: 'parameter', format: ['camelCase'], leadingUnderscore: 'allow' },
        { selector: 'typeLike', format: ['PascalCase'] }],
    },
  },
  {
    files: ['**/*.mjs', 'eslint.config.js'],
    extends: [js.configs.recommended],
    languageOptions: { ecmaVersion: 2023, sourceType: 'module', globals: globals.node },
    rules: { ...common, 'no-unused-vars': ['error', unused] },
  },
  // Functions handed to the browser run there.
  { files: ['tests/page/**/*.mjs', 'bench/page.mjs'], languageOptions: { globals: globals.browser } },
  { files: ['src/page/**/*.mjs'], rules: { 'max-lines-per-function': ['error', { max: 60, skipBlankLines: true, skipComments: true }] } },
);
